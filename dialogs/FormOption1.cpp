#include "dialogs/FormOption1.h"

#include <QButtonGroup>
#include <QTabBar>

#include "views/design_units.h"
#include "views/view_frame.h"

namespace tavelin {
namespace {

constexpr std::size_t kCommentLength = 50;
constexpr std::size_t kBitCommentLength = 30;
constexpr int32_t kFontFallback = 26;

QCheckBox* Check(QWidget* parent, int left, int top, int width, const QString& caption) {
  auto* box = new QCheckBox(caption, parent);
  box->setGeometry(left, top, width, 22);
  return box;
}

bool Within(int32_t value, int32_t low, int32_t high) {
  return value >= low && value <= high;
}

}  // namespace

FormOption1::FormOption1(ViewHost& host, ViewFrame*& owner) : ToolDialog(host, owner) {
  setFixedSize(760, 520);
  SSTab1 = new QTabWidget(this);
  SSTab1->setGeometry(8, 8, 744, 464);
  SSTab1->tabBar()->setStyleSheet(QStringLiteral("QTabBar::tab { padding: 3px 7px; }"));
  for (int c = 0; c < kChannels; ++c) {
    auto* page = new QWidget;
    BuildChannel(c, page);
    for (int b = 0; b < 8; ++b) BuildBit(c * 8 + b, page);
    SSTab1->addTab(page, QStringLiteral("Ch%1").arg(c));
  }
  const DialogFoot foot = MakeDialogFoot(this);
  Img_Help_Setting = foot.Img_Help_Setting;
  Bt_OK = foot.Bt_OK;
  Bt_Cancell = foot.Bt_Cancell;
  ConnectFoot(Bt_OK, Bt_Cancell, Img_Help_Setting, 2, [this] { Bt_OK_Click(); });
  read_setting();
}

void FormOption1::BuildChannel(int c, QWidget* page) {
  const ChannelHead head = MakeChannelHead(page);
  TB_Device_On[c] = head.TB_Device_On;
  TB_cmt_ch[c] = head.TB_cmt_ch;

  auto* field = new QGroupBox(page);  // FrameViewMode
  field->setGeometry(8, 38, 240, 88);
  Caption(field, 10, 10, 40, QStringLiteral("Bit"));
  TB_StartBit[c] = Box(field, 56, 9, 40, QStringLiteral("10進数 1～8  半角入力"));
  Caption(field, 10, 36, 44, QStringLiteral("Length"));
  TB_Length[c] = Box(field, 56, 35, 40, QStringLiteral("10進数 1～64  半角入力"));
  Caption(field, 102, 36, 60, QStringLiteral("ビット長"));
  CB_bit_turn[c] = Check(field, 10, 60, 100, QStringLiteral("ビット反転"));
  CB_bit_reverse[c] = Check(field, 118, 60, 100, QStringLiteral("ビット逆順"));

  auto* revision = new QGroupBox(QStringLiteral("ビット補正"), page);  // FrameBitRevision
  revision->setGeometry(8, 130, 240, 70);
  RB_Conversion_a[c] = new QRadioButton(QStringLiteral("補正なし"), revision);
  RB_Conversion_b[c] = new QRadioButton(QStringLiteral("先頭符号"), revision);
  RB_Conversion_c[c] = new QRadioButton(QStringLiteral("２の補数"), revision);
  RB_Conversion_d[c] = new QRadioButton(QStringLiteral("単ビット"), revision);
  auto* group = new QButtonGroup(revision);
  const std::array<QRadioButton*, 4> radios = {RB_Conversion_a[c], RB_Conversion_b[c],
                                               RB_Conversion_c[c], RB_Conversion_d[c]};
  for (int i = 0; i < 4; ++i) {
    radios[static_cast<std::size_t>(i)]->setGeometry(10 + 112 * (i % 2), 20 + 24 * (i / 2), 108,
                                                     22);
    group->addButton(radios[static_cast<std::size_t>(i)]);
  }

  const ValueControls value = MakeValueControls(page, 8, 206, QStringLiteral("数値オプション"));
  TB_multiply[c] = value.TB_multiply;
  TB_addition[c] = value.TB_addition;
  CB_round_On[c] = value.CB_round_On;
  TB_round_value[c] = value.TB_round_value;
  CB_analysis[c] = value.CB_analysis;
  TB_Font_size[c] = value.TB_Font_size;
  Bt_FontColor_Dialog[c] = value.Bt_FontColor_Dialog;
  Bt_BackColor_Dialog[c] = value.Bt_BackColor_Dialog;
  for (ColourButton* button : {value.Bt_FontColor_Dialog, value.Bt_BackColor_Dialog}) {
    QObject::connect(button, &QAbstractButton::clicked, [this, button] { PickColourFor(button); });
  }
}

void FormOption1::BuildBit(int n, QWidget* page) {
  const int b = n % 8;
  auto* frame = new QGroupBox(QStringLiteral("bit %1").arg(b + 1), page);
  frame->setGeometry(258 + 238 * (b % 2), 38 + 96 * (b / 2), 230, 90);
  Frame_Bit[n] = frame;
  Caption(frame, 8, 19, 48, QStringLiteral("コメント"));
  TB_Comment_bit[n] = Box(frame, 58, 18, 162);
  CB_bit_not[n] = Check(frame, 8, 42, 120, QStringLiteral("ON/OFF反転"));
  Caption(frame, 8, 65, 48, QStringLiteral("LED色"));
  Bt_bitLEDColor_Dialog[n] = new ColourButton(frame);
  Bt_bitLEDColor_Dialog[n]->setGeometry(58, 65, 34, 20);
  ColourButton* button = Bt_bitLEDColor_Dialog[n];
  QObject::connect(button, &QAbstractButton::clicked, [this, button] { PickColourFor(button); });
}

// A cancelled colour dialog leaves the colour as it was.
void FormOption1::PickColourFor(ColourButton* button) {
  if (const auto colour = CommonDialog1(button->BackColor(), this)) button->SetBackColor(*colour);
}

void FormOption1::read_setting() {
  const ELM327_Info& device = *obj_Form->device;
  const USB_IO_IF& io = *obj_Form->USB_IO;
  setWindowTitle(Q(device.Application_title) + QStringLiteral("　　- USB IO設定 -"));
  for (int16_t c = 0; c < kChannels; ++c) {
    ShowDeviceState(TB_Device_On[c], io.HidCh(c) > -1);
    TB_cmt_ch[c]->setText(Q(device.usbio_comment(c)));
    const int32_t start = device.usbio_StartBit(c);
    TB_StartBit[c]->setText(QString::number(Within(start, 1, 8) ? start : 0));
    const int32_t length = device.usbio_DataLength(c);
    TB_Length[c]->setText(QString::number(Within(length, 1, 128) ? length : 0));
    const std::array<QRadioButton*, 4> radios = {RB_Conversion_a[c], RB_Conversion_b[c],
                                                 RB_Conversion_c[c], RB_Conversion_d[c]};
    const int32_t mode = device.usbio_Conversion(c);
    radios[static_cast<std::size_t>(Within(mode, 0, 3) ? mode : 0)]->setChecked(true);
    if (device.usbio_bit_reverse(c) == 1) CB_bit_reverse[c]->setChecked(true);
    if (device.usbio_bit_turn(c) == 1) CB_bit_turn[c]->setChecked(true);
    ShowValueSettings(
        {nullptr, TB_multiply[c], TB_addition[c], CB_round_On[c], TB_round_value[c], CB_analysis[c],
         TB_Font_size[c], Bt_FontColor_Dialog[c], Bt_BackColor_Dialog[c]},
        {device.usbio_multiply(c), device.usbio_addition(c), device.usbio_round_On(c),
         device.usbio_round_value(c), device.usbio_analysis(c), device.usbio_Font_size(c),
         device.usbio_FontColor(c), device.usbio_BackColor(c)});
  }
  for (int16_t n = 0; n < kBits; ++n) {
    TB_Comment_bit[n]->setText(Q(device.bit_comment(n)));
    Bt_bitLEDColor_Dialog[n]->SetBackColor(device.bit_LEDColor(n));
    if (device.bit_turn(n) == 1) CB_bit_not[n]->setChecked(true);
  }
}

void FormOption1::StoreChannel(int16_t c, ELM327_Info& device) {
  device.usbio_comment(c) = CommentOf(TB_cmt_ch[c]->text(), kCommentLength);
  device.usbio_StartBit(c) = WholeNumberOr(TB_StartBit[c]->text(), 1, 8, 1);
  int32_t length = WholeNumberOr(TB_Length[c]->text(), 1, 128, 1);
  // Written for channels counted from 1 and applied to an index from 0:
  // channel 15 with start bit 1 takes 16 bits, one byte past the stream.
  length = std::min(length, (16 - c) * 8 + 9 - device.usbio_StartBit(c));
  device.usbio_DataLength(c) = length;
  device.usbio_Conversion(c) = RB_Conversion_a[c]->isChecked()   ? 0
                               : RB_Conversion_b[c]->isChecked() ? 1
                               : RB_Conversion_c[c]->isChecked() ? 2
                               : RB_Conversion_d[c]->isChecked() ? 3
                                                                 : 0;
  device.usbio_bit_reverse(c) = CB_bit_reverse[c]->isChecked() ? 1 : 0;
  device.usbio_bit_turn(c) = CB_bit_turn[c]->isChecked() ? 1 : 0;
  const ValueSettings value = ReadValueSettings(
      {nullptr, TB_multiply[c], TB_addition[c], CB_round_On[c], TB_round_value[c], CB_analysis[c],
       TB_Font_size[c], Bt_FontColor_Dialog[c], Bt_BackColor_Dialog[c]},
      kFontFallback);
  device.usbio_multiply(c) = value.multiply;
  device.usbio_addition(c) = value.addition;
  device.usbio_round_On(c) = value.roundOn;
  device.usbio_round_value(c) = value.roundValue;
  device.usbio_analysis(c) = value.analysis;
  device.usbio_Font_size(c) = value.fontSize;
  device.usbio_FontColor(c) = value.fontColor;
  device.usbio_BackColor(c) = value.backColor;
}

void FormOption1::Bt_OK_Click() {
  ELM327_Info& device = *obj_Form->device;
  for (int16_t c = 0; c < kChannels; ++c) StoreChannel(c, device);
  for (int16_t n = 0; n < kBits; ++n) {
    device.bit_comment(n) = CommentOf(TB_Comment_bit[n]->text(), kBitCommentLength);
    device.bit_LEDColor(n) = Bt_bitLEDColor_Dialog[n]->BackColor();
    device.bit_turn(n) = CB_bit_not[n]->isChecked() ? 1 : 0;
  }
  // The view in use shows the new comments, fonts and colours at once.
  if (device.t_ViewCh >= 1 && device.t_ViewCh <= 3) {
    host_.ViewOfMode(device.t_ViewCh).Set_FormView();
  }
  Unload();
}

}  // namespace tavelin
