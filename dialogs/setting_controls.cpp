#include "dialogs/setting_controls.h"

#include <QColorDialog>
#include <QLabel>
#include <QPainter>

#include "platform/number_text.h"
#include "platform/utf8.h"
#include "views/design_units.h"

namespace tavelin {
namespace {

constexpr Colour kRecognised = Rgb(0, 160, 11);
constexpr Colour kNotRecognised = Rgb(255, 0, 0);

QPixmap HelpPicture() {
  QPixmap picture(22, 22);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(QColor(0x2f, 0x6f, 0xc8));
  painter.setPen(QColor(0x1c, 0x4a, 0x8c));
  painter.drawEllipse(QRectF(1.5, 1.5, 19, 19));
  QFont font(UiFontFamily());
  font.setPixelSize(15);
  font.setBold(true);
  painter.setFont(font);
  painter.setPen(Qt::white);
  painter.drawText(QRect(0, 0, 22, 22), Qt::AlignCenter, QStringLiteral("?"));
  return picture;
}

}  // namespace

ColourButton::ColourButton(QWidget* parent) : QAbstractButton(parent) {
  setCursor(Qt::PointingHandCursor);
}

void ColourButton::SetBackColor(Colour colour) {
  colour_ = colour;
  update();
}

void ColourButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), isDown() ? QColor(0x60, 0x60, 0x60) : QColor(0x90, 0x90, 0x90));
  painter.fillRect(rect().adjusted(3, 3, -3, -3), ColourOf(colour_));
}

std::optional<Colour> PickWithColourDialog(Colour initial, QWidget* parent) {
  const QColor chosen = QColorDialog::getColor(ColourOf(initial), parent);
  if (!chosen.isValid()) return std::nullopt;
  return Rgb(chosen.red(), chosen.green(), chosen.blue());
}

QToolButton* MakeHelpPicture(QWidget* parent) {
  auto* button = new QToolButton(parent);
  button->setIcon(QIcon(HelpPicture()));
  button->setIconSize(QSize(22, 22));
  button->setAutoRaise(true);
  button->setCursor(Qt::PointingHandCursor);
  return button;
}

void ShowDeviceState(QLineEdit* box, bool recognised) {
  box->setText(recognised ? QStringLiteral(" OK") : QStringLiteral(" NG"));
  SetForeColor(box, recognised ? kRecognised : kNotRecognised);
}

int32_t WholeNumberOr(const QString& text, int32_t low, int32_t high, int32_t fallback) {
  const auto whole = WholeNumberInText(S(text));
  return whole && *whole >= low && *whole <= high ? *whole : fallback;
}

double NumberOr(const QString& text, double fallback) {
  return NumberInText(S(text)).value_or(fallback);
}

std::string CommentOf(const QString& text, std::size_t count) {
  return TrimmedComment(S(text), count);
}

QString NumberShown(double value) {
  return Q(NumberText(value));
}

QLabel* Caption(QWidget* parent, int left, int top, int width, const QString& text) {
  auto* label = new QLabel(text, parent);
  label->setGeometry(left, top, width, 20);
  return label;
}

QLineEdit* Box(QWidget* parent, int left, int top, int width, const QString& tip) {
  auto* box = new QLineEdit(parent);
  box->setGeometry(left, top, width, 22);
  if (!tip.isEmpty()) box->setToolTip(tip);
  return box;
}

ChannelHead MakeChannelHead(QWidget* page) {
  Caption(page, 8, 10, 104, QStringLiteral("デバイス認識・・・"));
  ChannelHead head{Box(page, 112, 9, 38), nullptr};
  head.TB_Device_On->setReadOnly(true);
  head.TB_Device_On->setFocusPolicy(Qt::NoFocus);
  Caption(page, 170, 10, 50, QStringLiteral("コメント"));
  head.TB_cmt_ch = Box(page, 222, 9, 330);
  return head;
}

DialogFoot MakeDialogFoot(QWidget* dialog) {
  const int top = dialog->height() - 38;
  DialogFoot foot{MakeHelpPicture(dialog), new QPushButton(QStringLiteral("OK"), dialog),
                  new QPushButton(QStringLiteral("キャンセル"), dialog)};
  foot.Img_Help_Setting->move(10, top);
  foot.Bt_OK->setGeometry(dialog->width() - 200, top, 90, 28);
  foot.Bt_Cancell->setGeometry(dialog->width() - 100, top, 90, 28);
  return foot;
}

ValueControls MakeValueControls(QWidget* parent, int left, int top, const QString& frameCaption) {
  const QString decimal = QStringLiteral("10進数 半角入力");
  ValueControls c{};
  c.frame = new QGroupBox(frameCaption, parent);
  c.frame->setGeometry(left, top, 240, 82);
  QWidget* f = c.frame;
  Caption(f, 8, 22, 12, QStringLiteral("ｆ"));
  Caption(f, 20, 22, 22, QStringLiteral("(χ)"));
  Caption(f, 44, 22, 14, QStringLiteral("＝"));
  c.TB_multiply = Box(f, 58, 21, 62, decimal);
  Caption(f, 123, 22, 14, QStringLiteral("×"));
  Caption(f, 137, 22, 10, QStringLiteral("χ"));
  Caption(f, 149, 22, 14, QStringLiteral("＋"));
  c.TB_addition = Box(f, 165, 21, 66, decimal);
  c.CB_round_On = new QCheckBox(QStringLiteral("小数点丸め"), f);
  c.CB_round_On->setGeometry(8, 52, 96, 22);
  c.TB_round_value = Box(f, 106, 52, 34, QStringLiteral("10進数 1～10  半角入力"));
  Caption(f, 144, 53, 40, QStringLiteral("桁目"));
  c.CB_analysis = new QCheckBox(QStringLiteral("分析"), parent);
  c.CB_analysis->setGeometry(left + 8, top + 88, 80, 22);
  Caption(parent, left + 8, top + 116, 46, QStringLiteral("フォント"));
  c.TB_Font_size = Box(parent, left + 56, top + 115, 38, QStringLiteral("10進数 8～64  半角入力"));
  c.Bt_FontColor_Dialog = new ColourButton(parent);
  c.Bt_FontColor_Dialog->setGeometry(left + 98, top + 116, 34, 20);
  Caption(parent, left + 146, top + 116, 46, QStringLiteral("背景色"));
  c.Bt_BackColor_Dialog = new ColourButton(parent);
  c.Bt_BackColor_Dialog->setGeometry(left + 194, top + 116, 34, 20);
  return c;
}

void ShowValueSettings(const ValueControls& controls, const ValueSettings& settings) {
  controls.TB_multiply->setText(NumberShown(settings.multiply));
  controls.TB_addition->setText(NumberShown(settings.addition));
  if (settings.roundOn == 1) controls.CB_round_On->setChecked(true);
  controls.TB_round_value->setText(QString::number(settings.roundValue));
  if (settings.analysis == 1) controls.CB_analysis->setChecked(true);
  controls.TB_Font_size->setText(QString::number(settings.fontSize));
  controls.Bt_FontColor_Dialog->SetBackColor(settings.fontColor);
  controls.Bt_BackColor_Dialog->SetBackColor(settings.backColor);
}

ValueSettings ReadValueSettings(const ValueControls& controls, int32_t fontFallback) {
  ValueSettings settings;
  settings.multiply = NumberOr(controls.TB_multiply->text(), 1.0);
  settings.addition = NumberOr(controls.TB_addition->text(), 0.0);
  settings.roundOn = controls.CB_round_On->isChecked() ? 1 : 0;
  settings.roundValue = WholeNumberOr(controls.TB_round_value->text(), 1, 10, 1);
  settings.analysis = controls.CB_analysis->isChecked() ? 1 : 0;
  settings.fontSize = WholeNumberOr(controls.TB_Font_size->text(), 8, 64, fontFallback);
  settings.fontColor = controls.Bt_FontColor_Dialog->BackColor();
  settings.backColor = controls.Bt_BackColor_Dialog->BackColor();
  return settings;
}

}  // namespace tavelin
