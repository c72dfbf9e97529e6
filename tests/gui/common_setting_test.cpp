// The common settings dialog, driven by its widgets.
#include <QMimeData>
#include <QUrl>

#include "dialogs/FormCommonSetting.h"
#include "dialogs/FormHelp.h"
#include "gui_suites.h"
#include "gui_support.h"
#include "views/design_units.h"

namespace tavelin::test {
namespace {

namespace fs = std::filesystem;

// Drags `data` over `target` and drops it, as a file manager does: Qt
// drops only on a target that accepted the drag's entry.
void Drop(QWidget* target, QMimeData* data) {
  QDragEnterEvent enter(QPoint(4, 4), Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(target, &enter);
  QDropEvent drop(QPointF(4, 4), Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(target, &drop);
}

QMimeData* FileList(const QStringList& paths) {
  auto* data = new QMimeData;
  QList<QUrl> urls;
  for (const QString& path : paths) urls << QUrl(path);
  data->setUrls(urls);
  return data;
}

class CommonSettingTest : public QObject {
  Q_OBJECT

  // The program booted in `mode` and the dialog opened from its Tool menu.
  struct Opened : Started {
    FormCommonSetting* dialog = nullptr;
  };
  static std::unique_ptr<Opened> Open(int32_t mode, const DeviceChange& change = {}) {
    auto o = OpenFromMenu<Opened>(mode, &ViewFrame::menu_common_setting, {}, change);
    o->dialog = o->Form().TheFormCommonSetting();
    return o;
  }

 private slots:
  void theMenuOpensItFilledFromTheStoreWithTheViewDisabled() {
    auto o = Open(3, [](ELM327_Info& device) {
      device.t_LogSave_Enable = 1;
      device.t_LogSampling = 250;
      device.t_LogSaveFilePath_mode = 2;
      device.t_LogSaveFilePath = "/srv/logs";
      device.t_LogSave_subFolder = 1;
    });
    QVERIFY(o->dialog != nullptr && o->dialog->isVisible());
    QVERIFY(!o->view->isEnabled());
    QCOMPARE(o->dialog->windowTitle(), QStringLiteral("タヴェリン Ver1.11　　- 共通設定 -"));
    QVERIFY(o->dialog->RB_ViewCh[2]->isChecked());
    QVERIFY(o->dialog->CB_LogFile_Enable->isChecked());
    QCOMPARE(o->dialog->TB_Sampling->text(), QStringLiteral("250"));
    QVERIFY(o->dialog->RB_LogSaveFilePath[2]->isChecked());
    QCOMPARE(o->dialog->TB_LogSaveFilePath->text(), QStringLiteral("/srv/logs"));
    QVERIFY(o->dialog->CB_LogSave_subFolder->isChecked());
    QCOMPARE(o->dialog->TB_LogSaveFilePath->toolTip(),
             QStringLiteral("保存先のフォルダをドラッグ＆ドロップしてください"));
    // The log controls follow the box.
    o->dialog->CB_LogFile_Enable->click();
    QVERIFY(!o->dialog->TB_Sampling->isEnabled() && !o->dialog->GB_LogSave_path->isEnabled());
    o->dialog->CB_LogFile_Enable->click();
    QVERIFY(o->dialog->TB_Sampling->isEnabled() && o->dialog->GB_LogSave_path->isEnabled());
  }

  // A mistaken period silently means the fastest one; a fraction is
  // rounded (halves to even) before the range test.
  void theSamplingPeriodFallsBackToOne() {
    const std::pair<QString, int32_t> cases[] = {
        {"", 1},    {"3600000", 3600000}, {"3600001", 1}, {"0", 1},
        {"-5", 1},  {"2.5", 2},           {"0.6", 1},     {"299.5", 300},
        {"abc", 1}, {"99999999999", 1},   {" 42 ", 42}};
    for (const auto& [text, stored] : cases) {
      auto o = Open(1, [](ELM327_Info& device) { device.t_LogSave_Enable = 1; });
      o->dialog->TB_Sampling->setText(text);
      o->dialog->Bt_OK->click();
      QCOMPARE(o->Device().t_LogSampling, stored);
      QVERIFY(o->booted->form1->TheFormCommonSetting() == nullptr || !o->dialog->isVisible());
      QVERIFY(o->view->isEnabled());
    }
  }

  // A new mode hides the view, shows the view of the mode and hands the
  // dialog to it; modes 5 and 6 are stored and nothing else happens.
  void theDisplayModeChangesTheView() {
    auto o = Open(1);
    o->dialog->RB_ViewCh[3]->setChecked(true);
    o->dialog->Bt_OK->click();
    ViewFrame* analog = o->booted->form1->ShownView();
    QCOMPARE(o->Device().t_ViewCh, 4);
    QVERIFY(!o->view->isVisible());
    QVERIFY(analog != o->view && analog->USB_Probe != nullptr);
    QVERIFY(analog->isEnabled());

    analog->menu_common_setting->trigger();
    FormCommonSetting* again = o->booted->form1->TheFormCommonSetting();
    QCOMPARE(again->obj_Form, analog);
    QVERIFY(again->RB_ViewCh[3]->isChecked());
    again->RB_ViewCh[0]->setChecked(true);
    again->Bt_OK->click();
    QCOMPARE(o->Device().t_ViewCh, 1);
    QCOMPARE(o->booted->form1->ShownView(), o->view);
    QVERIFY(!analog->isVisible());

    for (int unused : {4, 5}) {
      o->view->menu_common_setting->trigger();
      FormCommonSetting* dialog = o->booted->form1->TheFormCommonSetting();
      dialog->RB_ViewCh[unused]->setChecked(true);
      dialog->Bt_OK->click();
      QCOMPARE(o->Device().t_ViewCh, unused + 1);
      QCOMPARE(o->booted->form1->ShownView(), o->view);
    }
  }

  // Without the workbook application the text format shows as chosen, and
  // OK stores it.
  void withoutTheWorkbookTheTextFormatShowsAndIsStored() {
    auto o = Open(1, [](ELM327_Info& device) {
      device.t_LogSave_Enable = 1;
      device.t_LogSaveFormat = 1;
    });
    o->Device().ExcelInstallCheck = 0;
    o->dialog->read_setting();
    QCOMPARE(o->dialog->TB_Excel_Status->text(), QStringLiteral(" NG"));
    QCOMPARE(o->dialog->TB_Excel_Status->palette().color(QPalette::Text), QColor(255, 0, 0));
    QVERIFY(!o->dialog->RB_LogSV_Format[0]->isEnabled());
    QVERIFY(o->dialog->RB_LogSV_Format[1]->isChecked());
    o->dialog->Bt_OK->click();
    QCOMPARE(o->Device().t_LogSaveFormat, 2);
  }

  // A dropped file gives its folder, a dropped folder itself, never with a
  // trailing "/" but for "/" itself; anything but local files does nothing.
  void aDropGivesAFolder() {
    auto o = Open(1, [](ELM327_Info& device) { device.t_LogSave_Enable = 1; });
    const std::string stored = o->Device().t_LogSaveFilePath;
    TempFolder place;
    const QString folder = Q(place.Path().string());
    const QString file = Q(place.Write("SD26030214-001.csv", "x").string());
    fs::create_directory(place.Path() / "sub");
    const std::pair<QStringList, QString> cases[] = {
        {{QUrl::fromLocalFile(file).toString()}, folder},
        {{QUrl::fromLocalFile(folder + "/sub/").toString()}, folder + "/sub"},
        {{QUrl::fromLocalFile(folder + "/sub").toString(), QUrl::fromLocalFile(file).toString()},
         folder + "/sub"},
        {{QStringLiteral("file:///")}, QStringLiteral("/")},
        {{QUrl::fromLocalFile(folder + "/gone/").toString()}, folder + "/gone"},
    };
    for (QWidget* target : {static_cast<QWidget*>(o->dialog->TB_LogSaveFilePath),
                            static_cast<QWidget*>(o->dialog->Img_Log_save_folder),
                            static_cast<QWidget*>(o->dialog->Img_Log_save_folder_path)}) {
      for (const auto& [urls, shown] : cases) {
        o->dialog->TB_LogSaveFilePath->setText(QStringLiteral("before"));
        std::unique_ptr<QMimeData> data(FileList(urls));
        Drop(target, data.get());
        QCOMPARE(o->dialog->TB_LogSaveFilePath->text(), shown);
      }
      o->dialog->TB_LogSaveFilePath->setText(QStringLiteral("before"));
      std::unique_ptr<QMimeData> web(FileList({QStringLiteral("https://example.com/a")}));
      Drop(target, web.get());
      auto text = std::make_unique<QMimeData>();
      text->setText(QStringLiteral("/tmp"));
      Drop(target, text.get());
      QCOMPARE(o->dialog->TB_LogSaveFilePath->text(), QStringLiteral("before"));
    }
    QCOMPARE(o->Device().t_LogSaveFilePath, stored);  // nothing stored before OK
  }

  // Cancel and the title bar store nothing; any unload hides the help and
  // enables the view.
  void cancelAndTheTitleBarStoreNothing() {
    for (bool titleBar : {false, true}) {
      auto o = Open(2, [](ELM327_Info& device) { device.t_LogSave_Enable = 1; });
      o->dialog->Img_Help_Setting->click();
      FormHelp& help = o->booted->form1->TheFormHelp();
      QVERIFY(help.isVisible());
      QVERIFY(help.TB_View->toPlainText().startsWith(QStringLiteral("- 共通設定 -")));
      o->dialog->TB_Sampling->setText(QStringLiteral("5000"));
      o->dialog->RB_ViewCh[0]->setChecked(true);
      if (titleBar) {
        o->dialog->close();
        QVERIFY(!help.isVisible());
        QVERIFY(o->view->isEnabled());
        // Escape takes the same way out.
        o->view->menu_common_setting->trigger();
        o->dialog = o->booted->form1->TheFormCommonSetting();
        o->dialog->TB_Sampling->setText(QStringLiteral("5000"));
        QTest::keyClick(o->dialog, Qt::Key_Escape);
      } else {
        o->dialog->Bt_Cancell->click();
      }
      QCOMPARE(o->Device().t_LogSampling, 300);
      QCOMPARE(o->Device().t_ViewCh, 2);
      QVERIFY(!help.isVisible());
      QVERIFY(o->view->isEnabled());
    }
  }
};

[[maybe_unused]] const bool kRegistered = RegisterSuite<CommonSettingTest>("common");

}  // namespace
}  // namespace tavelin::test

#include "common_setting_test.moc"
