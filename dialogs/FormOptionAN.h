#pragma once
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QToolButton>
#include <array>

#include "dialogs/setting_controls.h"
#include "dialogs/tool_dialog.h"

namespace tavelin {

// The comments of the eight probes and the settings of their 48 pins, in
// eight tabs of six pin frames. Values go straight into the analog device
// layer, whose library reads them: a running run sees them at its next pass.
class FormOptionAN final : public ToolDialog {
 public:
  static constexpr int kProbes = 8;
  static constexpr int kPins = 48;
  template <typename T>
  using PerProbe = std::array<T*, kProbes>;
  template <typename T>
  using PerPin = std::array<T*, kPins>;

  FormOptionAN(ViewHost& host, ViewFrame*& owner);

  void read_setting();
  void Bt_OK_Click();

  PickColour CommonDialog1 = PickWithColourDialog;

  QTabWidget* SSTab1;
  PerProbe<QLineEdit> TB_Device_On;
  PerProbe<QLineEdit> TB_cmt_ch;
  PerPin<QGroupBox> Frame_pin1;
  PerPin<QLineEdit> TB_cmt_pin;
  std::array<ValueControls, kPins> Pin;  // TB_multiply, TB_Font_size, … of each pin
  QPushButton* Bt_OK;
  QPushButton* Bt_Cancell;
  QToolButton* Img_Help_Setting;

 private:
  void BuildPin(int j, QWidget* page);
  void PickColourFor(ColourButton* button);
};

}  // namespace tavelin
