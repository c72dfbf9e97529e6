#pragma once
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <memory>

#include "devices/USB_IO_IF.h"
#include "dialogs/tool_dialog.h"

namespace tavelin {

// Prepares USB-IO modules for this system: a search for every module, then
// the settings written into all that were found. It works on a private
// device layer of its own, never on the view's. After a write the modules
// must be unplugged and plugged in again, and the dialog closed.
class FormFrashWrite final : public ToolDialog {
 public:
  enum class State { Idle, Found, Written };

  FormFrashWrite(ViewHost& host, ViewFrame*& owner, const UsbIoEntryPoints& library);

  void read_setting();
  void Bt_Search_Click();
  void Bt_Write_Click();
  State CurrentState() const;

  QPlainTextEdit* TB_Board1;
  QPushButton* Bt_Search;
  QLabel* Lb_SearchResult;
  QPushButton* Bt_Write;
  QPushButton* Bt_OK;

 protected:
  // Leaving after a write warns again; the private layer goes, and the
  // owner view is enabled again.
  void Form_Unload() override;

 private:
  USB_IO_IF& Private();
  void WarnToReplug();

  UsbIoEntryPoints library_;
  std::unique_ptr<USB_IO_IF> usbIo_;
};

}  // namespace tavelin
