#pragma once
#include <QDialog>
#include <QPlainTextEdit>
#include <QPushButton>

namespace tavelin {

class ViewFrame;

// The help window: always on top, at the top left of the screen.
class FormHelp final : public QDialog {
 public:
  FormHelp();

  ViewFrame* obj_Form = nullptr;
  QPlainTextEdit* TB_View;
  QPushButton* Bt_Close;

  // Loads on the first showing: caption, place and stacking.
  void EnsureLoaded();

 private:
  bool loaded_ = false;
};

// Shows help text 1 (common settings), 2 (digital channels) or 3 (analog
// channels) in the one help window; any other kind does nothing.
namespace HelpWizard {
void Show_Help(FormHelp& help, int32_t kind);
}

}  // namespace tavelin
