#pragma once
#include <QAbstractButton>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QString>
#include <QToolButton>
#include <cstdint>
#include <functional>
#include <optional>

#include "state/ELM327_Info.h"

namespace tavelin {

// A button whose own background shows a colour: the font, background and
// LED colours of the channel dialogs.
class ColourButton final : public QAbstractButton {
 public:
  explicit ColourButton(QWidget* parent);
  Colour BackColor() const { return colour_; }
  void SetBackColor(Colour colour);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Colour colour_ = 0;
};

// The system's colour dialog, started at `initial`: the chosen colour, or
// none when it was cancelled.
using PickColour = std::function<std::optional<Colour>(Colour initial, QWidget* parent)>;
std::optional<Colour> PickWithColourDialog(Colour initial, QWidget* parent);

// The picture that opens the dialog's help page.
QToolButton* MakeHelpPicture(QWidget* parent);

// A caption, and a text box with its tool tip, at design positions.
QLabel* Caption(QWidget* parent, int left, int top, int width, const QString& text);
QLineEdit* Box(QWidget* parent, int left, int top, int width, const QString& tip = {});

// The head of a channel's tab: its device state (read only) and its comment.
struct ChannelHead {
  QLineEdit* TB_Device_On;
  QLineEdit* TB_cmt_ch;
};
ChannelHead MakeChannelHead(QWidget* page);

// The foot of a channel dialog: the help picture at the left, OK and
// キャンセル at the right, along the bottom of the dialog's fixed size.
struct DialogFoot {
  QToolButton* Img_Help_Setting;
  QPushButton* Bt_OK;
  QPushButton* Bt_Cancell;
};
DialogFoot MakeDialogFoot(QWidget* dialog);

// A device's state: " OK" in green when it is recognised, " NG" in red.
void ShowDeviceState(QLineEdit* box, bool recognised);

// The OK rules of the settings dialogs: a field that is no number, or lies
// outside its range, silently takes its fallback.
int32_t WholeNumberOr(const QString& text, int32_t low, int32_t high, int32_t fallback);
double NumberOr(const QString& text, double fallback);
// Blanks cut at both ends, then the first `count` characters.
std::string CommentOf(const QString& text, std::size_t count);

// A setting shown in a text box: its general number text.
QString NumberShown(double value);

// The value controls of a digital channel or an analog pin: the formula
// f(χ) = a × χ + b with its rounding in a frame, then the analysis, the
// font size and the two colours.
struct ValueControls {
  QGroupBox* frame;
  QLineEdit* TB_multiply;
  QLineEdit* TB_addition;
  QCheckBox* CB_round_On;
  QLineEdit* TB_round_value;
  QCheckBox* CB_analysis;
  QLineEdit* TB_Font_size;
  ColourButton* Bt_FontColor_Dialog;
  ColourButton* Bt_BackColor_Dialog;
};
// Built at (left, top) of `parent`, 240 pixels wide and kValueControlsHeight high.
ValueControls MakeValueControls(QWidget* parent, int left, int top, const QString& frameCaption);
inline constexpr int kValueControlsHeight = 140;

// What the value controls stand for, read and shown with the same rules in
// both channel dialogs; only the font fallback differs.
struct ValueSettings {
  double multiply = 1.0;
  double addition = 0.0;
  int32_t roundOn = 0;
  int32_t roundValue = 1;
  int32_t analysis = 0;
  int32_t fontSize = 0;
  Colour fontColor = 0;
  Colour backColor = 0;
};
// The controls filled as stored: no range test, checked where a flag is 1.
void ShowValueSettings(const ValueControls& controls, const ValueSettings& settings);
// The fields at OK, each with its silent fallback.
ValueSettings ReadValueSettings(const ValueControls& controls, int32_t fontFallback);

}  // namespace tavelin
