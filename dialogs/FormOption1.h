#pragma once
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QToolButton>
#include <array>

#include "dialogs/setting_controls.h"
#include "dialogs/tool_dialog.h"

namespace tavelin {

// The settings of the sixteen digital channels and their 128 bits, in
// sixteen tabs. Every control exists at once, so switching tabs loads and
// saves nothing. OK stores every field into the shared store, each with its
// silent fallback; the conversion reaches the library at the next connect.
class FormOption1 final : public ToolDialog {
 public:
  static constexpr int kChannels = 16;
  static constexpr int kBits = 128;
  template <typename T>
  using PerChannel = std::array<T*, kChannels>;
  template <typename T>
  using PerBit = std::array<T*, kBits>;

  FormOption1(ViewHost& host, ViewFrame*& owner);

  void read_setting();
  void Bt_OK_Click();

  // The colour dialog; tests put their answer here.
  PickColour CommonDialog1 = PickWithColourDialog;

  QTabWidget* SSTab1;
  PerChannel<QLineEdit> TB_Device_On;
  PerChannel<QLineEdit> TB_cmt_ch;
  PerChannel<QLineEdit> TB_StartBit;
  PerChannel<QLineEdit> TB_Length;
  PerChannel<QCheckBox> CB_bit_turn;
  PerChannel<QCheckBox> CB_bit_reverse;
  PerChannel<QRadioButton> RB_Conversion_a, RB_Conversion_b, RB_Conversion_c, RB_Conversion_d;
  PerChannel<QLineEdit> TB_multiply;
  PerChannel<QLineEdit> TB_addition;
  PerChannel<QCheckBox> CB_round_On;
  PerChannel<QLineEdit> TB_round_value;
  PerChannel<QCheckBox> CB_analysis;
  PerChannel<QLineEdit> TB_Font_size;
  PerChannel<ColourButton> Bt_FontColor_Dialog;
  PerChannel<ColourButton> Bt_BackColor_Dialog;
  PerBit<QGroupBox> Frame_Bit;
  PerBit<QLineEdit> TB_Comment_bit;
  PerBit<QCheckBox> CB_bit_not;
  PerBit<ColourButton> Bt_bitLEDColor_Dialog;
  QPushButton* Bt_OK;
  QPushButton* Bt_Cancell;
  QToolButton* Img_Help_Setting;

 private:
  void BuildChannel(int c, QWidget* page);
  void BuildBit(int n, QWidget* page);
  void PickColourFor(ColourButton* button);
  void StoreChannel(int16_t c, ELM327_Info& device);
};

}  // namespace tavelin
