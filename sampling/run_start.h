#pragma once
#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "state/ELM327_Info.h"

namespace tavelin {

// The device half of Connect: a new run starts its values and analysis
// afresh, and the digital side takes the channel settings as they are now.
void PrepareDevicesForRun(bool analog, const ELM327_Info& device, USB_IO_IF& usbIo,
                          KVR_USB_Probe& usbProbe);

}  // namespace tavelin
