// A kvr_usb_probe with another version text and no probes.
#include <cstring>

#include "kvr_usb_probe.h"

KVR_EXPORT int32_t search_USBProbe(int32_t*, int32_t*, int32_t, int32_t*, int32_t*, int32_t) {
  return 0;
}
KVR_EXPORT int32_t recive_USBProbe(int32_t*, int32_t*, int32_t, int32_t*, int32_t*, int32_t*,
                                   int32_t, int32_t) {
  return 0;
}
KVR_EXPORT int32_t dataCalculation_USBProbe(int32_t*, int32_t, double*, double*, double*, int32_t*,
                                            int32_t*, int32_t*, int32_t, int32_t) {
  return 0;
}
KVR_EXPORT int32_t close_All_USBProbe(int32_t*, int32_t) {
  return 0;
}
KVR_EXPORT int32_t close_USBProbe(int32_t*, int32_t) {
  return 0;
}
KVR_EXPORT int32_t kr_usbprobe_Version(char* buffer) {
  std::strncpy(buffer, FAKE_VERSION, 16);
  return 1;
}
