#include "dialogs/tool_dialog.h"

#include <QCloseEvent>
#include <QWindow>

#include "views/view_frame.h"

namespace tavelin {

ToolDialog::ToolDialog(ViewHost& host, ViewFrame*& owner) : obj_Form(owner), host_(host) {
  // Not a child of the view: a disabled view would disable its children.
  setWindowFlags(Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
  setAttribute(Qt::WA_DeleteOnClose);
}

void ToolDialog::ShowOver(QWidget& view) {
  create();
  if (view.windowHandle() != nullptr) windowHandle()->setTransientParent(view.windowHandle());
  adjustSize();  // a dialog laid out by its layout has its size only now
  move(view.frameGeometry().center() - rect().center());
  show();
  raise();
  activateWindow();
}

void ToolDialog::ConnectFoot(QAbstractButton* okButton, QAbstractButton* cancel,
                             QAbstractButton* help, int helpPage, std::function<void()> ok) {
  QObject::connect(okButton, &QAbstractButton::clicked, std::move(ok));
  QObject::connect(cancel, &QAbstractButton::clicked, [this] { Unload(); });
  QObject::connect(help, &QAbstractButton::clicked, [this, helpPage] { host_.ShowHelp(helpPage); });
}

void ToolDialog::Form_Unload() {
  host_.HideHelp();
  host_.KeepSettings();
  if (obj_Form != nullptr) obj_Form->setEnabled(true);
}

void ToolDialog::closeEvent(QCloseEvent* event) {
  if (!unloaded_) {
    unloaded_ = true;
    Form_Unload();
  }
  event->accept();
}

void ToolDialog::done(int result) {
  setResult(result);
  close();
}

}  // namespace tavelin
