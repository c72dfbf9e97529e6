#pragma once
#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "sampling/FormBG.h"
#include "state/ELM327_Info.h"
#include "views/message_boxes.h"

namespace tavelin {

class ViewFrame;

// The dialogs a view's menus open.
enum class ViewDialog { CommonSetting, ChannelSettings, DeviceWriter, Version };

// What a view reaches of the program around it: the shared objects of the
// start object, the sampling engine, the message boxes, the dialogs of its
// menus and the unload of the whole program. The start object is the one
// host; views know it only through this.
class ViewHost {
 public:
  virtual ~ViewHost() = default;

  virtual ELM327_Info& Device() = 0;
  virtual USB_IO_IF& UsbIo() = 0;
  virtual KVR_USB_Probe& UsbProbe() = 0;
  virtual FormBG& TheFormBG() = 0;
  virtual MessageBoxes& Boxes() = 0;

  // A view's load ties the engine and the dialogs to it, once.
  virtual void BindToView(ViewFrame& view, bool analog) = 0;
  // A menu entry's dialog, opened over `owner`.
  virtual void ShowDialog(ViewDialog dialog, ViewFrame& owner) = 0;
  // The view of a display mode (1 to 4), loaded on first use; not shown.
  virtual ViewFrame& ViewOfMode(int32_t mode) = 0;
  // Help text `kind` (1 to 3) in the one help window, or the window hidden.
  virtual void ShowHelp(int32_t kind) = 0;
  virtual void HideHelp() = 0;
  // The trend window, live on the engine's samples; opened once, raised after.
  virtual void ShowTrend() = 0;
  // The publishing settings (publish.conf), over `owner`.
  virtual void ShowPublishSettings(ViewFrame& owner) = 0;
  // The settings in memory may have changed (a dialog closed, a run began
  // or ended): kept aside, so that a crash does not lose them.
  virtual void KeepSettings() = 0;

  virtual bool Unloaded() const = 0;
  virtual void UnloadFrom(ViewFrame& closing) = 0;
};

}  // namespace tavelin
