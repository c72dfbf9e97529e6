#pragma once
#include <QDialog>
#include <QLabel>
#include <functional>

namespace tavelin {

class ViewFrame;

// The about box: borderless, dragged from its own surface, closed by its
// OK picture; the home page opens from its link.
class FormVersion final : public QDialog {
 public:
  FormVersion();

  ViewFrame* obj_Form = nullptr;
  QLabel* Lb_OK;
  QLabel* Img_OK;
  QLabel* Lb_App_Title;
  QLabel* Lb_URL;
  QLabel* Lb_copylight;

  // Shows the box. The first showing loads it, centred over `owner`; later
  // ones show it where it was left, with the texts it read then.
  void ShowFor(QWidget& owner);

  // Hands the box to the window manager to move; true when it took it.
  std::function<bool()> StartSystemMove;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void Form_Load();
  // Drag_Form: a move with the left button held moves the box, once per
  // press; the window manager then has the button, and its release never
  // comes here.
  void Drag_Form(Qt::MouseButtons buttons);
  bool loaded_ = false;
  bool leftHeld_ = false;
  bool dragged_ = false;
};

}  // namespace tavelin
