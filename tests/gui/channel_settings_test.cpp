// The digital and analog channel dialogs, driven by their widgets.
#include "dialogs/FormHelp.h"
#include "dialogs/FormOption1.h"
#include "dialogs/FormOptionAN.h"
#include "gui_suites.h"
#include "gui_support.h"
#include "views/channel_views.h"
#include "views/design_units.h"

namespace tavelin::test {
namespace {

QString Repeated(const QString& text, int times) {
  QString out;
  for (int i = 0; i < times; ++i) out += text;
  return out;
}

class ChannelSettingsTest : public QObject {
  Q_OBJECT

  struct Opened : Started {
    KVR_USB_Probe& Probe() { return Form().USB_Probe; }
    FormOption1* Digital() { return Form().TheFormOption1(); }
    FormOptionAN* Analog() { return Form().TheFormOptionAN(); }
  };

  // The program booted in `mode` on `bench`, with Ch設定 opened.
  static std::unique_ptr<Opened> Open(int32_t mode, const std::optional<std::string>& bench = {},
                                      const DeviceChange& change = {}) {
    return OpenFromMenu<Opened>(mode, &ViewFrame::menu_opt_function1, bench, change);
  }

 private slots:
  void theDigitalDialogShowsEveryChannelAndBitAtOnce() {
    auto o = Open(1, "usbio 2 prepared constant 1\n", [](ELM327_Info& device) {
      device.usbio_StartBit(4) = 0;
      device.usbio_DataLength(4) = 200;
      device.usbio_Conversion(4) = 7;
      device.usbio_Conversion(5) = 2;
      device.bit_comment(40) = "扉";
    });
    FormOption1* dialog = o->Digital();
    QVERIFY(dialog != nullptr && dialog->isVisible());
    QVERIFY(!o->view->isEnabled());
    QCOMPARE(dialog->windowTitle(), QStringLiteral("タヴェリン Ver1.11　　- USB IO設定 -"));
    QCOMPARE(dialog->SSTab1->count(), 16);
    for (int n = 0; n < 128; ++n) QVERIFY(dialog->Frame_Bit[n] != nullptr);
    QCOMPARE(dialog->TB_Device_On[2]->text(), QStringLiteral(" OK"));
    QCOMPARE(dialog->TB_Device_On[2]->palette().color(QPalette::Text), QColor(0, 160, 11));
    QCOMPARE(dialog->TB_Device_On[3]->text(), QStringLiteral(" NG"));
    QCOMPARE(dialog->TB_Device_On[3]->palette().color(QPalette::Text), QColor(255, 0, 0));
    // Out-of-range fields show as 0, an unknown conversion as the first.
    QCOMPARE(dialog->TB_StartBit[4]->text(), QStringLiteral("0"));
    QCOMPARE(dialog->TB_Length[4]->text(), QStringLiteral("0"));
    QVERIFY(dialog->RB_Conversion_a[4]->isChecked());
    QVERIFY(dialog->RB_Conversion_c[5]->isChecked());
    QCOMPARE(dialog->TB_Comment_bit[40]->text(), QStringLiteral("扉"));
    // A tab change loads and saves nothing.
    dialog->TB_cmt_ch[7]->setText(QStringLiteral("編集中"));
    dialog->SSTab1->setCurrentIndex(7);
    dialog->SSTab1->setCurrentIndex(0);
    QCOMPARE(dialog->TB_cmt_ch[7]->text(), QStringLiteral("編集中"));
    QCOMPARE(o->Device().usbio_comment(7), std::string("7Ch"));
  }

  // Every field takes its silent fallback on OK; the length is then clamped
  // to what is left of the stream, one byte too generous on channel 15.
  void theDigitalFieldsTakeTheirFallbacks() {
    struct Case {
      int16_t channel;
      QString startBit, length;
      int32_t storedStart, storedLength;
    };
    const Case cases[] = {
        {0, "8", "128", 8, 128},  {1, "abc", "8", 1, 8},         {2, "", "8", 1, 8},
        {3, "2", "200", 2, 1},    {4, "9", "8", 1, 8},           {15, "8", "128", 8, 9},
        {14, "1.5", "7.5", 2, 8}, {5, "99999999999", "3", 1, 3}, {6, "2", "99999999999", 2, 1}};
    auto o = Open(1, {}, [](ELM327_Info& device) { device.usbio_StartBit(7) = 0; });
    FormOption1* d = o->Digital();
    for (const Case& c : cases) {
      d->TB_StartBit[c.channel]->setText(c.startBit);
      d->TB_Length[c.channel]->setText(c.length);
    }
    const std::pair<QString, double> multiply[] = {{"", 1}, {"0.5", 0.5}, {"1/3", 1}, {"-2", -2}};
    const std::pair<QString, double> addition[] = {
        {"", 0}, {"1e3", 1000}, {"x", 0}, {"-0.25", -0.25}};
    const std::pair<QString, int32_t> font[] = {{"7", 26}, {"64", 64}, {"", 26}, {"8", 8}};
    const std::pair<QString, int32_t> round[] = {{"11", 1}, {"0", 1}, {"10", 10}, {"", 1}};
    for (int16_t c = 8; c < 12; ++c) {
      d->TB_multiply[c]->setText(multiply[c - 8].first);
      d->TB_addition[c]->setText(addition[c - 8].first);
      d->TB_Font_size[c]->setText(font[c - 8].first);
      d->TB_round_value[c]->setText(round[c - 8].first);
    }
    d->TB_cmt_ch[12]->setText("  " + Repeated(QStringLiteral("炉"), 60) + "  ");
    d->TB_cmt_ch[13]->setText(QStringLiteral("   "));
    d->TB_Comment_bit[100]->setText(Repeated(QStringLiteral("b"), 40));
    d->RB_Conversion_d[13]->setChecked(true);
    d->CB_bit_turn[13]->setChecked(true);
    d->CB_analysis[13]->setChecked(true);
    d->CB_bit_not[3]->setChecked(true);
    d->Bt_OK->click();

    const ELM327_Info& device = o->Device();
    for (const Case& c : cases) {
      QCOMPARE(device.usbio_StartBit(c.channel), c.storedStart);
      QCOMPARE(device.usbio_DataLength(c.channel), c.storedLength);
    }
    QCOMPARE(device.usbio_StartBit(7), 1);  // stored 0, shown "0", stored 1 on OK
    for (int16_t c = 8; c < 12; ++c) {
      QCOMPARE(device.usbio_multiply(c), multiply[c - 8].second);
      QCOMPARE(device.usbio_addition(c), addition[c - 8].second);
      QCOMPARE(device.usbio_Font_size(c), font[c - 8].second);
      QCOMPARE(device.usbio_round_value(c), round[c - 8].second);
    }
    QCOMPARE(Q(device.usbio_comment(12)), Repeated(QStringLiteral("炉"), 50));
    QCOMPARE(device.usbio_comment(13), std::string());
    QCOMPARE(Q(device.bit_comment(100)), Repeated(QStringLiteral("b"), 30));
    QCOMPARE(device.usbio_Conversion(13), 3);
    QCOMPARE(device.usbio_bit_turn(13), 1);
    QCOMPARE(device.usbio_analysis(13), 1);
    QCOMPARE(device.usbio_bit_reverse(13), 0);
    QCOMPARE(device.bit_turn(3), 1);
    QVERIFY(o->view->isEnabled());

    // Channel 15 with start bit 1 is allowed 16 bits: one byte past the stream.
    o->view->menu_opt_function1->trigger();
    o->Digital()->TB_StartBit[15]->setText(QStringLiteral("1"));
    o->Digital()->TB_Length[15]->setText(QStringLiteral("128"));
    o->Digital()->Bt_OK->click();
    QCOMPARE(device.usbio_DataLength(15), 16);
  }

  // The colour dialog's choice goes to the button; a cancel leaves it.
  void coloursComeFromTheColourDialog() {
    auto o = Open(3);
    FormOption1* d = o->Digital();
    std::optional<Colour> answer = Rgb(10, 20, 30);
    d->CommonDialog1 = [&](Colour, QWidget*) { return answer; };
    d->Bt_FontColor_Dialog[1]->click();
    d->Bt_bitLEDColor_Dialog[9]->click();
    answer = std::nullopt;
    d->Bt_BackColor_Dialog[1]->click();
    d->Bt_OK->click();
    QCOMPARE(o->Device().usbio_FontColor(1), Rgb(10, 20, 30));
    QCOMPARE(o->Device().bit_LEDColor(9), Rgb(10, 20, 30));
    QCOMPARE(o->Device().usbio_BackColor(1), 0x505050);
  }

  // OK shows the new comments in the view at once, and the next start
  // finds them in ch_set.dat.
  void whatOkStoresShowsAtOnceAndComesBackAfterARestart() {
    auto o = Open(3);
    o->Digital()->TB_cmt_ch[2]->setText(QStringLiteral("温度 A"));
    o->Digital()->TB_Font_size[2]->setText(QStringLiteral("30"));
    o->Digital()->TB_Comment_bit[17]->setText(QStringLiteral("弁 開"));
    o->Digital()->Bt_OK->click();
    auto& view = static_cast<FormView_Value1&>(*o->view);
    QCOMPARE(view.TB_View_Txt[2]->text(), QStringLiteral("温度 A"));
    QCOMPARE(view.Lb_View_ch_[2]->font().pointSizeF(), 30.0);
    view.close();
    const auto again = Boot(o->folder);
    QCOMPARE(again->form1->device.usbio_comment(2), std::string("温度 A"));
    QCOMPARE(again->form1->device.bit_comment(17), std::string("弁 開"));
    again->form1->ShownView()->menu_opt_function1->trigger();
    QCOMPARE(again->form1->TheFormOption1()->TB_Font_size[2]->text(), QStringLiteral("30"));
  }

  void cancelStoresNothingAndHelpShowsPageTwo() {
    auto o = Open(2);
    o->Digital()->Img_Help_Setting->click();
    QVERIFY(o->booted->form1->TheFormHelp().TB_View->toPlainText().startsWith(
        QStringLiteral("- Ｃｈ設定（デジタル入力） -")));
    o->Digital()->TB_cmt_ch[0]->setText(QStringLiteral("変更"));
    o->Digital()->Bt_Cancell->click();
    QCOMPARE(o->Device().usbio_comment(0), std::string("0Ch"));
    QVERIFY(!o->booted->form1->TheFormHelp().isVisible());
    QVERIFY(o->view->isEnabled());
  }

  // The analog dialog shows what is stored without range tests, and falls
  // back on OK: font 16, rounding digit 1, comments of 50 and 30.
  void theAnalogFieldsTakeTheirFallbacks() {
    auto o = Open(4, "probe 1 constant 100\n");
    FormOptionAN* d = o->Analog();
    QVERIFY(d != nullptr);
    QCOMPARE(d->windowTitle(), QStringLiteral("タヴェリン Ver1.11　　- アナログ入力 設定 -"));
    QCOMPARE(d->SSTab1->count(), 8);
    QCOMPARE(d->TB_Device_On[1]->text(), QStringLiteral(" OK"));
    QCOMPARE(d->TB_Device_On[0]->text(), QStringLiteral(" NG"));
    o->Probe().AN_pin_round_value(3) = 20;
    d->read_setting();
    QCOMPARE(d->Pin[3].TB_round_value->text(), QStringLiteral("20"));  // no range test
    d->Pin[0].TB_Font_size->setText(QStringLiteral("100"));
    d->Pin[1].TB_round_value->setText(QStringLiteral("11"));
    d->Pin[2].TB_round_value->setText(QString());
    d->Pin[4].TB_multiply->setText(QStringLiteral("0.25"));
    d->TB_cmt_pin[5]->setText(Repeated(QStringLiteral("圧"), 31));
    d->TB_cmt_ch[7]->setText(Repeated(QStringLiteral("流"), 51));
    d->Bt_OK->click();
    QCOMPARE(o->Probe().AN_pin_Font_size(0), 16);
    QCOMPARE(o->Probe().AN_pin_round_value(1), 1);
    QCOMPARE(o->Probe().AN_pin_round_value(2), 1);
    QCOMPARE(o->Probe().AN_pin_round_value(3), 1);  // replaced only on OK
    QCOMPARE(o->Probe().AN_pin_multiply(4), 0.25);
    QCOMPARE(Q(o->Probe().AN_pin_comment(5)), Repeated(QStringLiteral("圧"), 30));
    QCOMPARE(Q(o->Probe().AN_ch_comment(7)), Repeated(QStringLiteral("流"), 50));
  }

  // The library reads the pin settings where the dialog stores them: a run
  // sees a new coefficient at its next pass, without a new connect.
  void aRunningRunSeesANewCoefficient() {
    auto o = Open(4, "probe 0 constant 100 200\n");
    o->Analog()->Bt_Cancell->click();
    ViewFrame& view = *o->view;
    std::vector<std::string> values;
    QTimer::singleShot(60, [&] {
      values.push_back(view.Lb_View_ch_[1]->text().toStdString());
      o->booted->form1->ShowDialog(ViewDialog::ChannelSettings, view);
      o->Analog()->Pin[1].TB_multiply->setText(QStringLiteral("0.5"));
      o->Analog()->Bt_OK->click();
      QTimer::singleShot(80, [&] {
        values.push_back(view.Lb_View_ch_[1]->text().toStdString());
        view.Pic_Disconnect_Click();
      });
    });
    view.Pic_Connect_Click();
    QCOMPARE(values, (std::vector<std::string>{"200", "100"}));
  }
};

[[maybe_unused]] const bool kRegistered = RegisterSuite<ChannelSettingsTest>("channels");

}  // namespace
}  // namespace tavelin::test

#include "channel_settings_test.moc"
