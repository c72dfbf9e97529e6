// The about box and the help window.
#include "dialogs/FormHelp.h"
#include "dialogs/FormVersion.h"
#include "gui_suites.h"
#include "gui_support.h"
#include "views/message_boxes.h"

namespace tavelin::test {
namespace {

void Mouse(QWidget* widget, QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons held) {
  const QPointF at(4, 4);
  QMouseEvent event(type, at, widget->mapToGlobal(at), button, held, Qt::NoModifier);
  QCoreApplication::sendEvent(widget, &event);
}

// The program booted on view `mode`, its about box opened from the menu.
struct AboutBoxOpen : Started {
  ViewFrame& View() { return *view; }
  FormVersion& About() { return Form().TheFormVersion(); }
};
std::unique_ptr<AboutBoxOpen> OpenAboutBox(int32_t mode) {
  return OpenFromMenu<AboutBoxOpen>(mode, &ViewFrame::menu_help_version);
}

class DialogsTest : public QObject {
  Q_OBJECT

 private slots:
  void helpSwapsItsTextInTheOneWindow() {
    const auto s = Start(1);
    FormHelp& help = s->Form().TheFormHelp();
    HelpWizard::Show_Help(help, 2);
    QVERIFY(help.isVisible());
    QVERIFY(help.windowFlags() & Qt::WindowStaysOnTopHint);
    QCOMPARE(help.windowTitle(), QStringLiteral("タヴェリン Ver1.11　　ヘルプ"));
    QVERIFY(
        help.TB_View->toPlainText().startsWith(QStringLiteral("- Ｃｈ設定（デジタル入力） -\n")));
    const QPoint place = help.pos();
    HelpWizard::Show_Help(help, 3);
    QVERIFY(help.TB_View->toPlainText().startsWith(QStringLiteral("- Ｃｈ設定（アナログ入力） -")));
    QCOMPARE(help.pos(), place);
    HelpWizard::Show_Help(help, 0);
    QVERIFY(help.TB_View->toPlainText().startsWith(QStringLiteral("- Ｃｈ設定（アナログ入力） -")));
    help.Bt_Close->click();
    QVERIFY(!help.isVisible());
  }

  // Each text stands whole on one line of its label, at the dialog's font.
  // Loaded once and then only hidden, the box opens again where it was left.
  void theAboutBoxShowsItsTextsWholeAndOpensWhereItWasLeft() {
    const auto open = OpenAboutBox(3);
    ViewFrame& view = open->View();
    FormVersion& about = open->About();
    QVERIFY(about.isVisible());
    QCOMPARE(about.Lb_App_Title->text(), QStringLiteral("タヴェリン Ver1.11"));
    QCOMPARE(about.Lb_copylight->text(), QString::fromUtf8(identity::kNotice));
    QCOMPARE(about.Lb_URL->text(), QStringLiteral("tavelin.example.jp"));
    for (QLabel* label : {about.Lb_App_Title, about.Lb_copylight, about.Lb_URL, about.Lb_OK}) {
      const QFontMetrics metrics(label->font());
      QVERIFY2(metrics.horizontalAdvance(label->text()) <= label->width(),
               qPrintable(label->text()));
      QVERIFY(metrics.height() <= label->height());
      QVERIFY(!label->wordWrap());
    }
    QVERIFY(view.isEnabled());  // a run can still be started under it
    about.move(12, 34);
    QTest::mouseClick(about.Img_OK, Qt::LeftButton);
    QVERIFY(!about.isVisible());
    view.menu_help_version->trigger();
    QCOMPARE(about.pos(), QPoint(12, 34));
    QTest::mouseClick(about.Lb_OK, Qt::LeftButton);
    QVERIFY(!about.isVisible());
  }

  // Qt's standard buttons speak Japanese, and a box with a short text is
  // still wide enough for the window manager to show its title.
  void messageBoxesSpeakJapaneseAndHaveRoomForTheirTitle() {
    const QString title = QStringLiteral("タヴェリン Ver1.11");
    const auto box = MakeMessageBox(nullptr, QMessageBox::Warning, title,
                                    QStringLiteral("USB-IO を再検索します。\nよろしいですか？"),
                                    QMessageBox::Ok | QMessageBox::Cancel);
    QCOMPARE(box->button(QMessageBox::Cancel)->text(), QStringLiteral("キャンセル"));
    box->show();
    const int titleWidth = QFontMetrics(box->font()).horizontalAdvance(title);
    QVERIFY2(box->width() >= titleWidth + 150, qPrintable(QString::number(box->width())));
    box->hide();
  }

  // A press and a move drag the box once; the window manager then has the
  // button, so moves that still report it held start no new drag, and the
  // next plain click on OK closes the box.
  void aDragEndsWithItsPress() {
    const auto open = OpenAboutBox(1);
    ViewFrame& view = open->View();
    FormVersion& about = open->About();
    int drags = 0;
    about.StartSystemMove = [&] { return ++drags > 0; };
    Mouse(about.Lb_App_Title, QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton);
    Mouse(about.Lb_App_Title, QEvent::MouseMove, Qt::NoButton, Qt::LeftButton);
    Mouse(about.Lb_App_Title, QEvent::MouseMove, Qt::NoButton, Qt::LeftButton);
    Mouse(about.Lb_copylight, QEvent::MouseMove, Qt::NoButton, Qt::LeftButton);
    QCOMPARE(drags, 1);
    QVERIFY(about.isVisible());
    Mouse(about.Img_OK, QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton);
    Mouse(about.Img_OK, QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton);
    QVERIFY(!about.isVisible());
    // Pressed on OK and dragged: no close at the release.
    view.menu_help_version->trigger();
    Mouse(about.Lb_OK, QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton);
    Mouse(about.Lb_OK, QEvent::MouseMove, Qt::NoButton, Qt::LeftButton);
    Mouse(about.Lb_OK, QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton);
    QCOMPARE(drags, 2);
    QVERIFY(about.isVisible());
  }
};

[[maybe_unused]] const bool kRegistered = RegisterSuite<DialogsTest>("dialogs");

}  // namespace
}  // namespace tavelin::test

#include "dialogs_test.moc"
