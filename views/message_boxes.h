#pragma once
#include <QMessageBox>
#include <QString>
#include <memory>

namespace tavelin {

// The program's message boxes, so that tests can answer them.
class MessageBoxes {
 public:
  virtual ~MessageBoxes() = default;
  virtual void Critical(QWidget* parent, const QString& title, const QString& text) = 0;
  // OK only, with the exclamation icon.
  virtual void Exclamation(QWidget* parent, const QString& title, const QString& text) = 0;
  // OK and Cancel; true for OK.
  virtual bool OkCancel(QWidget* parent, const QString& title, const QString& text,
                        QMessageBox::Icon icon) = 0;
  // A question with two named answers; true for the first.
  virtual bool Ask(QWidget* parent, const QString& title, const QString& text, const QString& yes,
                   const QString& no) = 0;
  // OK only, with the information icon.
  virtual void Information(QWidget* parent, const QString& title, const QString& text) = 0;
};

class QtMessageBoxes final : public MessageBoxes {
 public:
  void Critical(QWidget* parent, const QString& title, const QString& text) override;
  void Exclamation(QWidget* parent, const QString& title, const QString& text) override;
  bool OkCancel(QWidget* parent, const QString& title, const QString& text,
                QMessageBox::Icon icon) override;
  bool Ask(QWidget* parent, const QString& title, const QString& text, const QString& yes,
           const QString& no) override;
  void Information(QWidget* parent, const QString& title, const QString& text) override;
};

// A message box with room for its title: a short text would make the box
// so narrow that the window manager cuts the title.
std::unique_ptr<QMessageBox> MakeMessageBox(QWidget* parent, QMessageBox::Icon icon,
                                            const QString& title, const QString& text,
                                            QMessageBox::StandardButtons buttons);

}  // namespace tavelin
