#pragma once
#include <QDialog>
#include <QLabel>

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

  // Shows the box over `owner`; the texts are read at the first showing only.
  void ShowFor(QWidget& owner);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void Form_Load();
  bool loaded_ = false;
  bool dragged_ = false;
};

}  // namespace tavelin
