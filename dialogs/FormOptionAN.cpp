#include "dialogs/FormOptionAN.h"

#include <QLabel>

#include "views/design_units.h"
#include "views/view_frame.h"

namespace tavelin {
namespace {

constexpr std::size_t kProbeCommentLength = 50;
constexpr std::size_t kPinCommentLength = 30;
constexpr int32_t kFontFallback = 16;  // the digital dialog's is 26

const QString kPinNames[6] = {QStringLiteral("入力１"), QStringLiteral("入力２"),
                              QStringLiteral("入力３"), QStringLiteral("入力４"),
                              QStringLiteral("入力５"), QStringLiteral("入力６")};

}  // namespace

FormOptionAN::FormOptionAN(ViewHost& host, ViewFrame*& owner) : ToolDialog(host, owner) {
  setFixedSize(800, 520);
  SSTab1 = new QTabWidget(this);
  SSTab1->setGeometry(8, 8, 784, 464);
  for (int d = 0; d < kProbes; ++d) {
    auto* page = new QWidget;
    const ChannelHead head = MakeChannelHead(page);
    TB_Device_On[d] = head.TB_Device_On;
    TB_cmt_ch[d] = head.TB_cmt_ch;
    for (int p = 0; p < 6; ++p) BuildPin(d * 6 + p, page);
    SSTab1->addTab(page, QStringLiteral("Ch%1").arg(d));
  }
  const DialogFoot foot = MakeDialogFoot(this);
  Img_Help_Setting = foot.Img_Help_Setting;
  Bt_OK = foot.Bt_OK;
  Bt_Cancell = foot.Bt_Cancell;
  ConnectFoot(Bt_OK, Bt_Cancell, Img_Help_Setting, 3, [this] { Bt_OK_Click(); });
  read_setting();
}

void FormOptionAN::BuildPin(int j, QWidget* page) {
  const int p = j % 6;
  auto* frame = new QGroupBox(kPinNames[p], page);
  frame->setGeometry(8 + 256 * (p % 3), 36 + 196 * (p / 3), 252, 192);
  Frame_pin1[j] = frame;
  Caption(frame, 6, 20, 48, QStringLiteral("コメント"));
  TB_cmt_pin[j] = Box(frame, 56, 19, 188);
  Pin[j] = MakeValueControls(frame, 6, 44, QString());  // FrameValueCalc
  for (ColourButton* button : {Pin[j].Bt_FontColor_Dialog, Pin[j].Bt_BackColor_Dialog}) {
    QObject::connect(button, &QAbstractButton::clicked, [this, button] { PickColourFor(button); });
  }
}

void FormOptionAN::PickColourFor(ColourButton* button) {
  if (const auto colour = CommonDialog1(button->BackColor(), this)) button->SetBackColor(*colour);
}

// Every stored value is shown as it stands: no range test here.
void FormOptionAN::read_setting() {
  const KVR_USB_Probe& probe = *obj_Form->USB_Probe;
  setWindowTitle(Q(obj_Form->device->Application_title) +
                 QStringLiteral("　　- アナログ入力 設定 -"));
  for (int32_t d = 0; d < probe.max_device && d < kProbes; ++d) {
    const int16_t i = TableIndex(d);
    ShowDeviceState(TB_Device_On[i], probe.HidCh(i) > -1);
    TB_cmt_ch[i]->setText(Q(probe.AN_ch_comment(i)));
  }
  for (int32_t k = 0; k < probe.max_DB && k < kPins; ++k) {
    const int16_t j = TableIndex(k);
    TB_cmt_pin[j]->setText(Q(probe.AN_pin_comment(j)));
    ShowValueSettings(
        Pin[j], {probe.AN_pin_multiply(j), probe.AN_pin_addition(j), probe.AN_pin_round_On(j),
                 probe.AN_pin_round_value(j), probe.AN_pin_analysis(j), probe.AN_pin_Font_size(j),
                 probe.AN_pin_FontColor(j), probe.AN_pin_BackColor(j)});
  }
}

void FormOptionAN::Bt_OK_Click() {
  KVR_USB_Probe& probe = *obj_Form->USB_Probe;
  for (int16_t d = 0; d < kProbes; ++d) {
    probe.AN_ch_comment(d) = CommentOf(TB_cmt_ch[d]->text(), kProbeCommentLength);
  }
  for (int16_t j = 0; j < kPins; ++j) {
    probe.AN_pin_comment(j) = CommentOf(TB_cmt_pin[j]->text(), kPinCommentLength);
    const ValueSettings value = ReadValueSettings(Pin[j], kFontFallback);
    probe.AN_pin_multiply(j) = value.multiply;
    probe.AN_pin_addition(j) = value.addition;
    probe.AN_pin_round_On(j) = value.roundOn;
    probe.AN_pin_round_value(j) = value.roundValue;
    probe.AN_pin_analysis(j) = value.analysis;
    probe.AN_pin_Font_size(j) = value.fontSize;
    probe.AN_pin_FontColor(j) = value.fontColor;
    probe.AN_pin_BackColor(j) = value.backColor;
  }
  const int32_t mode = obj_Form->device->t_ViewCh;
  if (mode >= 1 && mode <= 4) host_.ViewOfMode(mode).Set_FormView();
  Unload();
}

}  // namespace tavelin
