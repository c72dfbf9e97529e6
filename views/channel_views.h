#pragma once
#include <QLabel>
#include <QLineEdit>
#include <vector>

#include "views/view_frame.h"

namespace tavelin {

// Display mode 1: sixteen comment boxes with a strip of eight LEDs each.
class FormView_LED1 final : public ViewFrame {
 public:
  explicit FormView_LED1(ViewHost& host);
  std::vector<QLineEdit*> TB_View_Txt;

 protected:
  void SetChannelArea() override;
};

// Display mode 2: sixteen panels, each bit with its LED and its comment.
class FormView_LED2 final : public ViewFrame {
 public:
  explicit FormView_LED2(ViewHost& host);
  std::vector<QLabel*> Lb_txt_View;
  std::vector<QLabel*> Lb_Bit_Comment;

 protected:
  void SetChannelArea() override;
};

// Display mode 3: sixteen tiles with LEDs, the value and its analysis.
class FormView_Value1 final : public ViewFrame {
 public:
  explicit FormView_Value1(ViewHost& host);
  std::vector<QLineEdit*> TB_View_Txt;
  std::vector<QLabel*> Lb_View_BackColor;

 protected:
  void SetChannelArea() override;
};

// Display mode 4: 48 tiles of the analog probes, six to a probe.
class FormView_Value2 final : public ViewFrame {
 public:
  explicit FormView_Value2(ViewHost& host);
  std::vector<QLineEdit*> TB_View_Device;
  std::vector<QLineEdit*> TB_View_Txt;
  std::vector<QLabel*> Lb_View_BackColor;

 protected:
  void SetChannelArea() override;
};

}  // namespace tavelin
