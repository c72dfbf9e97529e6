#include "views/message_boxes.h"

#include <QFontMetrics>
#include <QGridLayout>
#include <QPushButton>
#include <QSpacerItem>

namespace tavelin {
namespace {

// What a title bar takes beside its text: the icon and the window manager's
// buttons.
constexpr int kTitleBarRoom = 160;

}  // namespace

std::unique_ptr<QMessageBox> MakeMessageBox(QWidget* parent, QMessageBox::Icon icon,
                                            const QString& title, const QString& text,
                                            QMessageBox::StandardButtons buttons) {
  auto box = std::make_unique<QMessageBox>(icon, title, text, buttons, parent);
  const int width = QFontMetrics(box->font()).horizontalAdvance(title) + kTitleBarRoom;
  if (auto* grid = qobject_cast<QGridLayout*>(box->layout())) {
    grid->addItem(new QSpacerItem(width, 0, QSizePolicy::Minimum, QSizePolicy::Expanding),
                  grid->rowCount(), 0, 1, grid->columnCount());
  }
  return box;
}

void QtMessageBoxes::Critical(QWidget* parent, const QString& title, const QString& text) {
  MakeMessageBox(parent, QMessageBox::Critical, title, text, QMessageBox::Ok)->exec();
}

void QtMessageBoxes::Exclamation(QWidget* parent, const QString& title, const QString& text) {
  MakeMessageBox(parent, QMessageBox::Warning, title, text, QMessageBox::Ok)->exec();
}

bool QtMessageBoxes::OkCancel(QWidget* parent, const QString& title, const QString& text,
                              QMessageBox::Icon icon) {
  return MakeMessageBox(parent, icon, title, text, QMessageBox::Ok | QMessageBox::Cancel)->exec() ==
         QMessageBox::Ok;
}

bool QtMessageBoxes::Ask(QWidget* parent, const QString& title, const QString& text,
                         const QString& yes, const QString& no) {
  auto box = MakeMessageBox(parent, QMessageBox::Question, title, text, QMessageBox::NoButton);
  QPushButton* first = box->addButton(yes, QMessageBox::AcceptRole);
  box->addButton(no, QMessageBox::RejectRole);
  box->setDefaultButton(first);
  box->exec();
  return box->clickedButton() == first;
}

void QtMessageBoxes::Information(QWidget* parent, const QString& title, const QString& text) {
  MakeMessageBox(parent, QMessageBox::Information, title, text, QMessageBox::Ok)->exec();
}

}  // namespace tavelin
