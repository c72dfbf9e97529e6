#include "sampling/run_start.h"

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

}  // namespace tavelin
