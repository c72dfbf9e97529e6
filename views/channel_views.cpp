#include "views/channel_views.h"

#include "views/design_units.h"

namespace tavelin {
namespace {

using Border = FrameDesign::Border;
using LedClear = FrameDesign::LedClear;

constexpr Colour kBoxBack = 0x505050;
constexpr Colour kBoxText = 0xC0C0C0;
constexpr Colour kMaxText = Rgb(255, 128, 128);
constexpr Colour kMinText = Rgb(192, 192, 255);
constexpr Colour kAvgText = Rgb(128, 255, 128);

const FrameDesign kLed1{.viewCh = 1,
                        .analog = false,
                        .clientWidth = 3090,
                        .clientHeight = 4695,
                        .connectLeft = 90,
                        .connectTop = 105,
                        .disconnectLeft = 1065,
                        .disconnectTop = 105,
                        .statusLeft = 105,
                        .statusTop = 555,
                        .statusForeColor = 0xC0C0C0,
                        .commentLeft = 90,
                        .commentTop = 795,
                        .commentWidth = 2910,
                        .deviceLedLeft = 2040,
                        .border = Border::FixedSingle,
                        .ledClearAtConnect = LedClear::AfterStatus};
const FrameDesign kLed2{.viewCh = 2,
                        .analog = false,
                        .clientWidth = 9075,
                        .clientHeight = 8385,
                        .connectLeft = 105,
                        .connectTop = 75,
                        .disconnectLeft = 1080,
                        .disconnectTop = 75,
                        .statusLeft = 3195,
                        .statusTop = 150,
                        .statusForeColor = 0xE0E0E0,
                        .commentLeft = 5730,
                        .commentTop = 135,
                        .commentWidth = 3135,
                        .deviceLedLeft = 2100,
                        .border = Border::None,
                        .ledClearAtConnect = LedClear::AfterStatus};
const FrameDesign kValue1{.viewCh = 3,
                          .analog = false,
                          .clientWidth = 9375,
                          .clientHeight = 4500,
                          .connectLeft = 165,
                          .connectTop = 45,
                          .disconnectLeft = 1140,
                          .disconnectTop = 45,
                          .statusLeft = 3615,
                          .statusTop = 135,
                          .statusForeColor = 0xE0E0E0,
                          .commentLeft = 6150,
                          .commentTop = 105,
                          .commentWidth = 3135,
                          .deviceLedLeft = 2250,
                          .border = Border::FixedSingle,
                          .ledClearAtConnect = LedClear::FirstOfAll};
const FrameDesign kValue2{.viewCh = 4,
                          .analog = true,
                          .clientWidth = 12705,
                          .clientHeight = 9510,
                          .connectLeft = 120,
                          .connectTop = 90,
                          .disconnectLeft = 1095,
                          .disconnectTop = 90,
                          .statusLeft = 3615,
                          .statusTop = 135,
                          .statusForeColor = 0xE0E0E0,
                          .commentLeft = 6150,
                          .commentTop = 105,
                          .commentWidth = 3135,
                          .deviceLedLeft = 2250,
                          .border = Border::Sizable,
                          .ledClearAtConnect = LedClear::None};

void SetFontSize(QLabel* label, int32_t points) {
  QFont font = label->font();
  font.setPointSizeF(static_cast<float>(points));
  label->setFont(font);
}

void ShowAnalysis(QLabel* maximum, QLabel* minimum, QLabel* average, bool shown) {
  maximum->setVisible(shown);
  minimum->setVisible(shown);
  average->setVisible(shown);
}

QFont ValueFont(double points) {
  QFont font(UiFontFamily());
  font.setPointSizeF(points);
  return font;
}

}  // namespace

// ---- LED view 1 ----

FormView_LED1::FormView_LED1(ViewHost& host) : ViewFrame(host, kLed1) {
  static constexpr int kOffsets[8] = {0, 150, 300, 465, 720, 870, 1020, 1170};
  for (int i = 0; i < 16; ++i) {
    const int row = i % 8;
    QLineEdit* box = MakeTextBox(i < 8 ? 90 : 1590, 1065 + 450 * row, 1410, 405,
                                 QStringLiteral("Ch"), kBoxBack, kBoxText);
    box->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    TB_View_Txt.push_back(box);
  }
  for (int n = 0; n < 128; ++n) {
    const int i = n / 8;
    Pic_BitLED_.push_back(
        MakeLed((i < 8 ? 150 : 1650) + kOffsets[n % 8], 1365 + 450 * (i % 8), 120, 60));
  }
}

void FormView_LED1::SetChannelArea() {
  for (int16_t i = 0; i < device->MAX_Ch; ++i)
    ShowText(TB_View_Txt[i], Q(device->usbio_comment(i)));
  ClearBitLEDs();
}

// ---- LED view 2 ----

FormView_LED2::FormView_LED2(ViewHost& host) : ViewFrame(host, kLed2) {
  for (int i = 0; i < 16; ++i) {
    const int x = 2235 * (i % 4);
    const int y = 1950 * (i / 4);
    MakeLabel(105 + x, 570 + y, 2175, 225, QString(), 0, true, kBoxBack);
    Lb_txt_View.push_back(
        MakeLabel(165 + x, 600 + y, 2070, 195, QStringLiteral("Ch"), 0xE0E0E0, false, 0));
    MakeLabel(105 + x, 825 + y, 2175, 1605, QString(), 0, true, kBoxBack);
  }
  for (int n = 0; n < 128; ++n) {
    const int i = n / 8;
    const int b = n % 8;
    const int x = 2235 * (i % 4);
    const int y = 1950 * (i / 4);
    Pic_BitLED_.push_back(MakeLed(150 + x, 885 + y + 195 * b - (b == 7 ? 15 : 0), 180, 120));
    Lb_Bit_Comment.push_back(MakeLabel(390 + x, 855 + y + 195 * b, 1860, 195, QStringLiteral("---"),
                                       kBoxText, true, 0x404040));
  }
}

void FormView_LED2::SetChannelArea() {
  for (int16_t i = 0; i < device->MAX_Ch; ++i) Lb_txt_View[i]->setText(Q(device->usbio_comment(i)));
  ClearBitLEDs();
  for (int16_t n = 0; n < device->MAX_bit; ++n) {
    Lb_Bit_Comment[n]->setText(Q(device->bit_comment(n)));
  }
}

// ---- digital value view ----

FormView_Value1::FormView_Value1(ViewHost& host) : ViewFrame(host, kValue1) {
  static constexpr int kLeft[4] = {105, 2415, 4740, 7050};
  static constexpr int kTop[4] = {525, 1500, 2535, 3510};
  static constexpr int kOffsets[8] = {0, 150, 300, 450, 645, 795, 945, 1095};
  for (int i = 0; i < 16; ++i) {
    const int left = kLeft[i % 4];
    const int top = kTop[i / 4];
    QLineEdit* box = MakeTextBox(left, top, 2235, 225, QStringLiteral("Ch"), kBoxBack, kBoxText);
    box->setFocusPolicy(Qt::NoFocus);
    TB_View_Txt.push_back(box);
    Lb_View_BackColor.push_back(
        MakeLabel(left, top + 225, 2235, 675, QString(), 0, true, kBoxBack));
    for (int b = 0; b < 8; ++b)
      Pic_BitLED_.push_back(MakeLed(left + 15 + kOffsets[b], top + 255, 120, 60));
    QLabel* value = MakeLabel(left + 15, top + 345, 2220, 420, QStringLiteral("---"), 0xE0E0E0,
                              false, 0, Qt::AlignRight | Qt::AlignVCenter);
    value->setFont(ValueFont(20.25));
    Lb_View_ch_.push_back(value);
    Lb_View_ch_MAX_.push_back(MakeLabel(left + 1005, top + 240, 1230, 180, QStringLiteral("---"),
                                        kMaxText, false, 0, Qt::AlignRight | Qt::AlignVCenter));
    Lb_View_ch_MIN_.push_back(MakeLabel(left + 990, top + 720, 1230, 180, QStringLiteral("---"),
                                        kMinText, false, 0, Qt::AlignRight | Qt::AlignVCenter));
    Lb_View_ch_Avg_.push_back(
        MakeLabel(left + 30, top + 720, 1230, 180, QStringLiteral("---"), kAvgText, false, 0));
  }
}

void FormView_Value1::SetChannelArea() {
  for (int16_t i = 0; i < device->MAX_Ch; ++i) {
    ShowText(TB_View_Txt[i], Q(device->usbio_comment(i)));
    SetFontSize(Lb_View_ch_[i], device->usbio_Font_size(i));
    SetForeColor(Lb_View_ch_[i], device->usbio_FontColor(i));
    SetBackColor(Lb_View_BackColor[i], device->usbio_BackColor(i));
    ShowAnalysis(Lb_View_ch_MAX_[i], Lb_View_ch_MIN_[i], Lb_View_ch_Avg_[i],
                 device->usbio_analysis(i) == 1);
  }
  ClearBitLEDs();
}

// ---- analog value view ----

FormView_Value2::FormView_Value2(ViewHost& host) : ViewFrame(host, kValue2) {
  for (int d = 0; d < 8; ++d) {
    QLineEdit* box =
        MakeTextBox(135, 570 + 1110 * d, 12465, 225, QStringLiteral("Ch"), kBoxBack, kBoxText);
    box->setFocusPolicy(Qt::NoFocus);
    TB_View_Device.push_back(box);
  }
  for (int k = 0; k < 48; ++k) {
    const int x = 2085 * (k % 6);
    const int y = 1110 * (k / 6);
    QLineEdit* box =
        MakeTextBox(120 + x, 825 + y, 2055, 225, QStringLiteral("Ch"), kBoxBack, kBoxText);
    box->setFocusPolicy(Qt::NoFocus);
    TB_View_Txt.push_back(box);
    Lb_View_BackColor.push_back(
        MakeLabel(120 + x, 1050 + y, 2055, 570, QString(), 0, true, kBoxBack));
    QLabel* value = MakeLabel(90 + x, 1170 + y, 2085, 330, QStringLiteral("---"), 0xE0E0E0, false,
                              0, Qt::AlignRight | Qt::AlignVCenter);
    value->setFont(ValueFont(15.75));
    Lb_View_ch_.push_back(value);
    Lb_View_ch_MAX_.push_back(MakeLabel(1035 + x, 1065 + y, 1140, 180, QStringLiteral("---"),
                                        kMaxText, false, 0, Qt::AlignRight | Qt::AlignVCenter));
    Lb_View_ch_MIN_.push_back(MakeLabel(1050 + x, 1425 + y, 1110, 180, QStringLiteral("---"),
                                        kMinText, false, 0, Qt::AlignRight | Qt::AlignVCenter));
    Lb_View_ch_Avg_.push_back(
        MakeLabel(180 + x, 1440 + y, 1050, 180, QStringLiteral("---"), kAvgText, false, 0));
  }
}

void FormView_Value2::SetChannelArea() {
  KVR_USB_Probe& probe = *USB_Probe;
  for (int32_t d = 0; d < probe.max_device; ++d) {
    ShowText(TB_View_Device.at(static_cast<std::size_t>(d)), Q(probe.AN_ch_comment(TableIndex(d))));
  }
  for (int32_t k = 0; k < probe.max_DB; ++k) {
    const int16_t pin = TableIndex(k);
    const auto at = static_cast<std::size_t>(k);
    ShowText(TB_View_Txt.at(at), Q(probe.AN_pin_comment(pin)));
    SetFontSize(Lb_View_ch_.at(at), probe.AN_pin_Font_size(pin));
    SetForeColor(Lb_View_ch_.at(at), probe.AN_pin_FontColor(pin));
    SetBackColor(Lb_View_BackColor.at(at), probe.AN_pin_BackColor(pin));
    ShowAnalysis(Lb_View_ch_MAX_.at(at), Lb_View_ch_MIN_.at(at), Lb_View_ch_Avg_.at(at),
                 probe.AN_pin_analysis(pin) == 1);
  }
}

}  // namespace tavelin
