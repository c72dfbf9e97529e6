// The device settings writer, driven by its buttons.
#include "dialogs/FormFrashWrite.h"
#include "gui_suites.h"
#include "gui_support.h"

namespace tavelin::test {
namespace {

using State = FormFrashWrite::State;

const QString kReplug =
    QStringLiteral("パソコンからすべてのUSB IOを抜き、\n使用する場合は再び接続してください｡ ");

class DeviceWriterTest : public QObject {
  Q_OBJECT

  struct Opened : Started {
    FormFrashWrite* writer = nullptr;
  };
  static std::unique_ptr<Opened> Open(const std::string& bench) {
    auto o = OpenFromMenu<Opened>(1, &ViewFrame::menu_opt_write_usbio, bench);
    o->writer = o->Form().TheFormFrashWrite();
    return o;
  }

 private slots:
  // Idle, Found, Written; a cancelled write stays in Found, and the step out
  // of Written warns a second time.
  void searchWriteAndLeave() {
    auto o = Open(
        "usbio 1 plain constant 1\nusbio 2 plain constant 2 write-fails\n"
        "usbio 3 prepared constant 3\n");
    FormFrashWrite& w = *o->writer;
    RecordingBoxes& boxes = o->booted->boxes;
    QCOMPARE(w.windowTitle(), QStringLiteral("タヴェリン　 設定書込(USB-IO)"));
    QVERIFY(!o->view->isEnabled());
    QCOMPARE(w.CurrentState(), State::Idle);
    w.Bt_Search->click();
    QCOMPARE(w.CurrentState(), State::Found);
    QCOMPARE(w.Lb_SearchResult->text(), QStringLiteral("接続されているUSB IO ・・・ 3台"));
    boxes.answer = false;
    w.Bt_Write->click();
    QCOMPARE(w.CurrentState(), State::Found);
    QCOMPARE(boxes.questions, QStringList{QStringLiteral(
                                  "接続されているすべてのUSB IOに、\n設定データを書き込みます。\n"
                                  "よろしいですか？")});
    QVERIFY(boxes.exclamations.isEmpty());
    boxes.answer = true;
    w.Bt_Write->click();
    QCOMPARE(w.CurrentState(), State::Written);
    QCOMPARE(w.Lb_SearchResult->text(), QStringLiteral("2台、書き込み完了。1台、失敗しました。"));
    QCOMPARE(boxes.exclamations, QStringList{kReplug});
    w.Bt_OK->click();
    QCOMPARE(boxes.exclamations, (QStringList{kReplug, kReplug}));
    QVERIFY(o->view->isEnabled());
    // The view's search now finds the plain module that took the settings.
    o->view->menu_opt_search_Click();
    QCOMPARE(o->booted->form1->USB_IO.FindDevice, 2);
    QVERIFY(o->booted->form1->USB_IO.HidCh(1) >= 0);
    QCOMPARE(o->booted->form1->USB_IO.HidCh(2), -1);
  }

  void aSearchThatFindsNothingStaysIdleAndLeavesWithoutAWarning() {
    for (bool titleBar : {false, true}) {
      auto o = Open("");
      o->writer->Bt_Search->click();
      QCOMPARE(o->writer->Lb_SearchResult->text(), QStringLiteral("機器がみつかりません"));
      QCOMPARE(o->writer->CurrentState(), State::Idle);
      if (titleBar) {
        o->writer->close();
      } else {
        o->writer->Bt_OK->click();
      }
      QVERIFY(o->booted->boxes.exclamations.isEmpty());
      QVERIFY(o->view->isEnabled());
    }
  }

  // All written: no count of failures. The title bar's close after a
  // write warns again too.
  void aWriteToEveryModuleThenTheTitleBar() {
    auto o = Open("usbio 4 plain constant 1\nusbio 5 plain constant 1\n");
    o->writer->Bt_Search->click();
    o->writer->Bt_Write->click();
    QCOMPARE(o->writer->Lb_SearchResult->text(), QStringLiteral("2台、書き込み完了"));
    o->writer->close();
    QCOMPARE(o->booted->boxes.exclamations, (QStringList{kReplug, kReplug}));
  }
};

[[maybe_unused]] const bool kRegistered = RegisterSuite<DeviceWriterTest>("writer");

}  // namespace
}  // namespace tavelin::test

#include "device_writer_test.moc"
