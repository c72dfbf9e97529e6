#pragma once
#include <QAbstractButton>
#include <QPixmap>

namespace tavelin {

// A picture that is clicked like a button: Pic_Connect and Pic_Disconnect.
// It shows the picture it is given, usable or unusable.
class PictureButton final : public QAbstractButton {
 public:
  explicit PictureButton(QWidget* parent);
  void SetPicture(const QPixmap& picture);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QPixmap picture_;
};

// The four button pictures: connect (56 x 25) and disconnect (57 x 25), each
// in a usable and an unusable look.
struct ButtonPictures {
  QPixmap Pic_bt_On_E, Pic_bt_On_D, Pic_bt_OFF_E, Pic_bt_OFF_D;
};
const ButtonPictures& TheButtonPictures();

}  // namespace tavelin
