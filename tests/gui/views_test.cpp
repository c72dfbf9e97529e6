// What the four views show: LEDs in their three colours, values and the
// analysis labels.
#include "dialogs/help_texts.h"
#include "gui_suites.h"
#include "gui_support.h"
#include "views/channel_views.h"
#include "views/design_units.h"

namespace tavelin::test {
namespace {

constexpr Colour kOff = Rgb(30, 30, 30);

class ViewsTest : public QObject {
  Q_OBJECT

 private slots:
  void ledsShowAbsentOffAndOnBits() {
    for (int mode : {1, 2, 3}) {
      const auto s = Start(mode, "usbio 0 prepared constant 0b101\n",
                           [](ELM327_Info& device) { device.bit_LEDColor(2) = 0x0000FF; });
      ViewFrame& view = *s->view;
      std::vector<Colour> seen;
      RunFor(view, 120, [&] {
        for (int n : {0, 1, 2, 8}) seen.push_back(view.Pic_BitLED_[n]->BackColor());
      });
      QCOMPARE(seen, (std::vector<Colour>{0x00FF00, kOff, 0x0000FF, 0}));
      for (BitLed* led : view.Pic_BitLED_) QCOMPARE(led->BackColor(), 0);  // cleared at Disconnect
    }
  }

  // A long comment shows its beginning, clipped at the right.
  void longCommentsShowTheirBeginning() {
    const QString tail = QStringLiteral("…の終わり");
    const std::string text = "最初の言葉から始まる長いコメントが箱の幅を超えて続き、" + S(tail);
    for (int mode : {1, 3, 4}) {
      const auto s = Start(
          mode, {},
          [&](ELM327_Info& device) {
            device.usbio_comment(0) = text;
            device.t_LogComment = text;
          },
          [&](KVR_USB_Probe& probe) {
            probe.AN_ch_comment(0) = text;
            probe.AN_pin_comment(0) = text;
          });
      ViewFrame& view = *s->view;
      std::vector<QLineEdit*> boxes = {view.TB_LogComment};
      if (mode == 1) boxes.push_back(static_cast<FormView_LED1&>(view).TB_View_Txt[0]);
      if (mode == 3) boxes.push_back(static_cast<FormView_Value1&>(view).TB_View_Txt[0]);
      if (mode == 4) {
        boxes.push_back(static_cast<FormView_Value2&>(view).TB_View_Device[0]);
        boxes.push_back(static_cast<FormView_Value2&>(view).TB_View_Txt[0]);
      }
      for (QLineEdit* box : boxes) {
        QVERIFY(box->text().startsWith(QStringLiteral("最初の言葉")));
        QCOMPARE(box->cursorPosition(), 0);
      }
    }
  }

  void theLabelledViewShowsBitComments() {
    const auto s = Start(2, {}, [](ELM327_Info& device) {
      device.bit_comment(9) = "非常停止";
      device.usbio_comment(1) = "盤 1";
    });
    auto& view = static_cast<FormView_LED2&>(*s->view);
    QCOMPARE(view.Lb_Bit_Comment[9]->text(), QStringLiteral("非常停止"));
    QCOMPARE(view.Lb_Bit_Comment[10]->text(), QString());  // the design "---" is gone
    QCOMPARE(view.Lb_txt_View[1]->text(), QStringLiteral("盤 1"));
    QCOMPARE(view.Pic_BitLED_[8]->geometry(), TwipRect(2235 + 150, 885, 180, 120));
  }

  void theDigitalValueViewShowsValuesAndAnalysis() {
    const auto s = Start(
        3, "usbio 3 prepared constant 5\nusbio 4 prepared constant 1\n", [](ELM327_Info& device) {
          device.usbio_bit_reverse(3) = 1;  // reversed, the value is the input itself
          device.usbio_analysis(3) = 1;
          device.usbio_Font_size(3) = 30;
          device.usbio_BackColor(3) = 0x102030;
        });
    auto& view = static_cast<FormView_Value1&>(*s->view);
    QVERIFY(view.Lb_View_ch_MAX_[3]->isVisibleTo(&view));
    QVERIFY(!view.Lb_View_ch_MAX_[4]->isVisibleTo(&view));
    QCOMPARE(view.Lb_View_ch_[3]->font().pointSizeF(), 30.0);
    QCOMPARE(view.Lb_View_BackColor[3]->palette().color(QPalette::Window), ColourOf(0x102030));
    RunFor(view, 150);
    QCOMPARE(view.Lb_View_ch_[3]->text(), QStringLiteral("5"));
    QCOMPARE(view.Lb_View_ch_MAX_[3]->text(), QStringLiteral("5"));
    QCOMPARE(view.Lb_View_ch_MIN_[3]->text(), QStringLiteral("5"));
    QCOMPARE(view.Lb_View_ch_Avg_[3]->text(), QStringLiteral("5"));
    QCOMPARE(view.Lb_View_ch_[4]->text(), QStringLiteral("128"));  // first bit most significant
    QCOMPARE(view.Lb_View_ch_MAX_[4]->text(), QStringLiteral("---"));
    QCOMPARE(view.Lb_View_ch_[5]->text(), QStringLiteral("---"));  // no module
  }

  void theAnalogValueViewShowsItsProbes() {
    const auto s = Start(4, "probe 0 constant 10 20 30 40 50 60\n", {}, [](KVR_USB_Probe& probe) {
      probe.AN_pin_analysis(1) = 1;
      probe.AN_pin_multiply(1) = 0.5;
      probe.AN_ch_comment(0) = "温度計";
    });
    auto& view = static_cast<FormView_Value2&>(*s->view);
    QCOMPARE(view.TB_View_Device[0]->text(), QStringLiteral("温度計"));
    QCOMPARE(view.TB_View_Txt[7]->text(), QStringLiteral("2入力"));
    QVERIFY(view.Pic_BitLED_.empty());
    RunFor(view, 150);
    QCOMPARE(view.Lb_View_ch_[0]->text(), QStringLiteral("10"));
    QCOMPARE(view.Lb_View_ch_[1]->text(), QStringLiteral("10"));
    QCOMPARE(view.Lb_View_ch_MAX_[1]->text(), QStringLiteral("10"));
    QCOMPARE(view.Lb_View_ch_MAX_[0]->text(), QStringLiteral("---"));
    QCOMPARE(view.Lb_View_ch_[6]->text(), QStringLiteral("---"));
  }
};

[[maybe_unused]] const bool kRegistered = RegisterSuite<ViewsTest>("views");

}  // namespace
}  // namespace tavelin::test

#include "views_test.moc"
