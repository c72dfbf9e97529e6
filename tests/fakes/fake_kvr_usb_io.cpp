// A kvr_usb_io with another version text and no modules.
#include <cstring>

#include "kvr_usb_io.h"

KVR_EXPORT int16_t search_USBIO(int32_t*, int32_t*, int32_t, int32_t*, int32_t*, int32_t) {
  return 0;
}
KVR_EXPORT int16_t recive_USBIO(int32_t*, int32_t*, int32_t, int32_t*, int32_t*, int32_t*, int32_t*,
                                int32_t*, int32_t*, int32_t*, int32_t*, int32_t*, int32_t*) {
  return 0;
}
KVR_EXPORT int16_t dataCalculation_USBIO(int32_t*, int32_t, double*, double*, double*, int32_t*,
                                         int32_t*, int32_t*, int32_t*, int32_t*, int32_t*,
                                         int32_t*) {
  return 0;
}
KVR_EXPORT int16_t setting_write_USBIO(int32_t*, int32_t, int32_t*, int32_t*) {
  return 0;
}
KVR_EXPORT int16_t close_All_USBIO(int32_t*, int32_t) {
  return 0;
}
KVR_EXPORT int16_t close_USBIO(int32_t*, int32_t) {
  return 0;
}
KVR_EXPORT int16_t kr_usbio_Version(char* buffer) {
  std::strncpy(buffer, FAKE_VERSION, 16);
  return 1;
}
