#pragma once
#include <QAbstractButton>
#include <QDialog>
#include <functional>

#include "views/view_host.h"

namespace tavelin {

class ViewFrame;

// A dialog of a view's Tool menu. The view that opened it stays disabled
// while it lives; its unload, by its own buttons or by the title bar's
// close, runs Form_Unload and then the window is gone.
class ToolDialog : public QDialog {
 public:
  // `owner` is where the program keeps the dialog's owner view: the view
  // that last tied the dialog to itself, and it outlives the dialog.
  ToolDialog(ViewHost& host, ViewFrame*& owner);

  // The view that owns the dialog.
  ViewFrame*& obj_Form;

  // Centres the dialog over `view` and shows it.
  void ShowOver(QWidget& view);
  // Closes the dialog by its unload path.
  void Unload() { close(); }

 protected:
  // The unload of the settings dialogs: the help window hidden and the
  // owner view enabled again.
  virtual void Form_Unload();
  void closeEvent(QCloseEvent* event) override;
  // Escape (and anything else that ends the dialog) takes the unload path
  // too, not QDialog's plain hide.
  void done(int result) override;
  // The settings dialogs' buttons: OK runs `ok`, キャンセル unloads, the
  // help picture shows help page `helpPage`.
  void ConnectFoot(QAbstractButton* okButton, QAbstractButton* cancel, QAbstractButton* help,
                   int helpPage, std::function<void()> ok);

  ViewHost& host_;

 private:
  bool unloaded_ = false;
};

}  // namespace tavelin
