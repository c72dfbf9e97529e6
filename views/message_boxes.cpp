#include "views/message_boxes.h"

namespace tavelin {

void QtMessageBoxes::Critical(QWidget* parent, const QString& title, const QString& text) {
  QMessageBox::critical(parent, title, text, QMessageBox::Ok);
}

bool QtMessageBoxes::OkCancel(QWidget* parent, const QString& title, const QString& text,
                              QMessageBox::Icon icon) {
  QMessageBox box(icon, title, text, QMessageBox::Ok | QMessageBox::Cancel, parent);
  return box.exec() == QMessageBox::Ok;
}

}  // namespace tavelin
