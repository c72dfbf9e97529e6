#include "sampling/run_start.h"

#include "platform/utf8.h"

namespace tavelin {

void PrepareDevicesForRun(bool analog, const ELM327_Info& device, USB_IO_IF& usbIo,
                          KVR_USB_Probe& usbProbe) {
  if (analog) {
    usbProbe.Data_ALL_Clear();
    return;
  }
  usbIo.Data_ALL_Clear();
  usbIo.Data_ALL_Set(device);
}

std::string RunComment(std::string_view typed) {
  return TrimmedComment(typed, kRunCommentLength);
}

bool CommentRefused(const std::string& comment, const ELM327_Info& device) {
  return comment.empty() && device.t_LogSave_subFolder == 1;
}

}  // namespace tavelin
