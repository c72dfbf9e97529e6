// The frame's states: No device, Ready, Running, Refused, and the ways
// between them.
#include "gui_suites.h"
#include "gui_support.h"
#include "logging/log_test_support.h"
#include "spreadsheet/ExcelApplication.h"
#include "views/design_units.h"

namespace tavelin::test {
namespace {

enum class FrameState { NoDevice, Ready, Running, Refused };

FrameState StateOf(const ViewFrame& view) {
  const bool connect = view.Pic_Connect->isEnabled();
  const bool disconnect = view.Pic_Disconnect->isEnabled();
  const bool menus = view.menu_tool->isEnabled();
  const bool locked = view.TB_LogComment->isReadOnly();
  if (!connect && !disconnect && menus && !locked) return FrameState::NoDevice;
  if (connect && !disconnect && menus && !locked) return FrameState::Ready;
  if (!connect && disconnect && !menus && locked) {
    return view.RxFlag == 1 ? FrameState::Running : FrameState::Refused;
  }
  throw std::logic_error("the frame is in no state of its table");
}

class ViewFrameTest : public QObject {
  Q_OBJECT

 private slots:
  void withoutDevicesNothingCanConnect() {
    const auto s = Start(1);
    ViewFrame& view = *s->view;
    QCOMPARE(StateOf(view), FrameState::NoDevice);
    for (BitLed* led : view.Pic_DeviceLED) QCOMPARE(led->BackColor(), Rgb(100, 100, 100));
    // The status says so and its tip how to connect one; a search says what it found.
    QCOMPARE(view.TB_Status_Box->text(), QStringLiteral("デバイスが見つかりません"));
    QVERIFY(view.TB_Status_Box->toolTip().contains(QStringLiteral("「実機をつなぐ」")));
    Simulation simulation("usbio 3 prepared constant 1\nusbio 5 prepared constant 1\n");
    view.menu_opt_search_Click();
    QCOMPARE(view.TB_Status_Box->text(), QStringLiteral("USB-IO 2 台を検出"));
    QCOMPARE(StateOf(view), FrameState::Ready);
  }

  void aRunGoesFromReadyToRunningAndBack() {
    const auto s = Start(1, "usbio 0 prepared constant 1\nusbio 2 prepared constant 2\n");
    ViewFrame& view = *s->view;
    QCOMPARE(StateOf(view), FrameState::Ready);
    QCOMPARE(view.Pic_DeviceLED[2]->BackColor(), 0x00FF00);
    QCOMPARE(view.Pic_DeviceLED[1]->BackColor(), Rgb(100, 100, 100));
    FrameState during = FrameState::NoDevice;
    QString status;
    bool closedDuringRun = false;
    RunFor(view, 80, [&] {
      during = StateOf(view);
      status = view.TB_Status_Box->text();
      view.close();  // refused without a word
      closedDuringRun = !view.isVisible() || s->Form().Unloaded();
    });
    QCOMPARE(during, FrameState::Running);
    QCOMPARE(status, QStringLiteral("通信中"));
    QVERIFY(!closedDuringRun);
    QCOMPARE(StateOf(view), FrameState::Ready);
    QCOMPARE(view.TB_Status_Box->text(), QString());
    QCOMPARE(s->Form().TheFormBG().State(), RunState::Idle);
  }

  // F5 connects and Esc (or F6) disconnects, also while the three menus are
  // disabled by the run; a key does nothing while its button is disabled.
  // A channel box reached by Tab keeps its name unselected.
  void theKeyboardConnectsAndDisconnects() {
    const auto s = Start(1, "usbio 0 prepared constant 1\n");
    ViewFrame& view = *s->view;
    QApplication::setActiveWindow(&view);
    QVERIFY(QTest::qWaitForWindowActive(&view));
    for (const int stop : {int(Qt::Key_Escape), int(Qt::Key_F6)}) {
      FrameState during = FrameState::NoDevice;
      bool stoppedByKey = false;
      QTimer::singleShot(60, [&] {
        during = StateOf(view);
        QTest::keyClick(&view, Qt::Key_F5);  // its button is disabled: nothing
        QTest::keyClick(&view, static_cast<Qt::Key>(stop));
        stoppedByKey = view.RxFlag == 0;
        if (view.RxFlag == 1)
          view.Pic_Disconnect_Click();  // the key failed: the run ends all the same
      });
      QTest::keyClick(&view, Qt::Key_F5);
      QCOMPARE(during, FrameState::Running);
      QCOMPARE(StateOf(view), FrameState::Ready);
      QVERIFY(stoppedByKey);
    }
    QTest::keyClick(&view, Qt::Key_Escape);  // no run: nothing
    QCOMPARE(StateOf(view), FrameState::Ready);

    QLineEdit* box = nullptr;
    for (QLineEdit* found : view.findChildren<QLineEdit*>()) {
      if (found != view.TB_LogComment && found != view.TB_Status_Box) box = found;
    }
    QVERIFY(box != nullptr);
    box->setText(QStringLiteral("炉 1"));
    QFocusEvent tabbed(QEvent::FocusIn, Qt::TabFocusReason);
    QCoreApplication::sendEvent(box, &tabbed);
    QVERIFY(!box->hasSelectedText());
  }

  // A logged run into a folder that takes no file does not start: the box
  // says why, and the view is Ready again.
  void aLogFolderThatTakesNoFileStopsConnect() {
    const auto s = Start(1, "usbio 0 prepared constant 1\n", [](ELM327_Info& device) {
      device.t_LogSave_Enable = 1;
      device.t_LogSaveFormat = 2;
      device.t_LogSaveFilePath_mode = 2;
      device.t_LogSaveFilePath = "/proc/self";
    });
    ViewFrame& view = *s->view;
    view.Pic_Connect_Click();
    QCOMPARE(s->Boxes().criticals.size(), 1);
    QVERIFY(s->Boxes().criticals[0].startsWith(QStringLiteral("ログファイルを保存できません。\n")));
    QVERIFY(s->Boxes().criticals[0].contains(QStringLiteral("/proc/self/")));
    QCOMPARE(view.RxFlag, 0);
    QCOMPARE(StateOf(view), FrameState::Ready);
    QCOMPARE(s->Form().TheFormBG().State(), RunState::Idle);
  }

  // Refused, the view waits for Disconnect; with the spreadsheet log on, the
  // Disconnect fails, the application having never been made (the program's
  // error report ends it there).
  void anEmptyCommentWithSubFoldersOnIsRefused() {
    for (const bool spreadsheet : {false, true}) {
      for (const QString& comment : {QString(), QStringLiteral("   ")}) {
        const auto s = Start(3, "usbio 0 prepared constant 1\n", [&](ELM327_Info& device) {
          device.t_LogSave_subFolder = 1;
          device.t_LogSave_Enable = spreadsheet ? 1 : 0;
        });
        ViewFrame& view = *s->view;
        view.TB_LogComment->setText(comment);
        view.Pic_Connect_Click();
        QCOMPARE(StateOf(view), FrameState::Refused);
        QCOMPARE(s->Boxes().criticals,
                 QStringList{QStringLiteral(
                     "「コメントをサブフォルダにして保存する」が有効になっています。\n"
                     "コメントを記入して下さい。")});
        bool failed = false;
        try {
          view.Pic_Disconnect_Click();
        } catch (const std::runtime_error&) {
          failed = true;
        }
        QCOMPARE(failed, spreadsheet);
        if (!spreadsheet) QCOMPARE(StateOf(view), FrameState::Ready);
      }
    }
  }

  // At connect the comment loses its blanks at the ends and is cut to 50
  // characters; an empty one connects while sub folders are off.
  void theCommentIsTrimmedAndCutAtConnect() {
    const std::string sixty = S(QString(60, QChar(0x708E)));  // 炎 × 60
    const std::pair<std::string, QString> cases[] = {{"  ", QString()},
                                                     {sixty, QString(50, QChar(0x708E))}};
    for (const auto& [comment, kept] : cases) {
      const auto s = Start(1, "usbio 0 prepared constant 1\n",
                           [&](ELM327_Info& device) { device.t_LogComment = comment; });
      RunFor(*s->view, 40);
      QCOMPARE(QString::fromStdString(s->Device().t_LogComment), kept);
    }
  }

  void aReSearchFindsModulesAddedAndRemoved() {
    const auto s = Start(2, "usbio 0 prepared constant 1\n");
    ViewFrame& view = *s->view;
    s->simulation->Rewrite(
        "usbio 0 prepared constant 1\nusbio 5 prepared walk\nusbio 9 plain walk\n");
    s->Boxes().answer = false;
    view.menu_opt_search_Click();
    QCOMPARE(s->Form().USB_IO.FindDevice, int16_t{1});
    QCOMPARE(s->Boxes().questions,
             QStringList{QStringLiteral("USB-IO を再検索します。\nよろしいですか？")});
    s->Boxes().answer = true;
    view.menu_opt_search_Click();
    QCOMPARE(s->Form().USB_IO.FindDevice, int16_t{2});
    QCOMPARE(view.Pic_DeviceLED[5]->BackColor(), 0x00FF00);
    QCOMPARE(view.Pic_DeviceLED[9]->BackColor(), Rgb(100, 100, 100));
    s->simulation->Rewrite("");
    view.menu_opt_search_Click();
    QCOMPARE(StateOf(view), FrameState::NoDevice);
    QCOMPARE(view.Pic_DeviceLED[0]->BackColor(), Rgb(100, 100, 100));
  }

  void aSpreadsheetRunMakesItsApplicationAndQuitsItAtDisconnect() {
    const auto s = Start(1, "usbio 0 prepared constant 1\n", [](ELM327_Info& device) {
      device.t_LogSave_Enable = 1;
      device.t_LogSampling = 10;
    });
    QCOMPARE(s->Device().ExcelInstallCheck, 1);
    QCOMPARE(s->Device().t_LogSaveFormat, 1);
    ViewFrame& view = *s->view;
    std::shared_ptr<ExcelApplication> during;
    QString status;
    RunFor(view, 100, [&] {
      during = view.objExcel;
      status = view.TB_Status_Box->text();
    });
    QVERIFY(during != nullptr);
    QVERIFY(!during->Visible);
    QVERIFY(during->Quitted() && during->DisplayAlerts && during->ScreenUpdating);  // back on
    QVERIFY(view.objExcel == nullptr);
    QCOMPARE(status, QStringLiteral("通信中　ログ出力(Excel)"));
    int workbooks = 0;
    for (const auto& entry : std::filesystem::directory_iterator(s->folder.Path())) {
      workbooks += entry.path().extension() == ".xls";
    }
    QCOMPARE(workbooks, 1);
  }
};

[[maybe_unused]] const bool kRegistered = RegisterSuite<ViewFrameTest>("frame");

}  // namespace
}  // namespace tavelin::test

#include "view_frame_test.moc"
