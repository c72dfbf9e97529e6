#pragma once
#include <QMessageBox>
#include <QString>

namespace tavelin {

// The program's message boxes, so that tests can answer them.
class MessageBoxes {
 public:
  virtual ~MessageBoxes() = default;
  virtual void Critical(QWidget* parent, const QString& title, const QString& text) = 0;
  // OK and Cancel; true for OK.
  virtual bool OkCancel(QWidget* parent, const QString& title, const QString& text,
                        QMessageBox::Icon icon) = 0;
};

class QtMessageBoxes final : public MessageBoxes {
 public:
  void Critical(QWidget* parent, const QString& title, const QString& text) override;
  bool OkCancel(QWidget* parent, const QString& title, const QString& text,
                QMessageBox::Icon icon) override;
};

}  // namespace tavelin
