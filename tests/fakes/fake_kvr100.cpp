// A kvr100 with another version text, or without an entry point.
#include <cstring>

#include "kvr100.h"

KVR_EXPORT double kv_timeGetTime() {
  return 0.0;
}
KVR_EXPORT int32_t kr_Version(char* buffer) {
  std::memcpy(buffer, FAKE_VERSION, sizeof(FAKE_VERSION) - 1 < 16 ? sizeof(FAKE_VERSION) - 1 : 16);
  return 1;
}
#ifndef FAKE_WITHOUT_AVERAGE
KVR_EXPORT double kr_Average(double average, double, int32_t, int32_t) {
  return average;
}
#endif
KVR_EXPORT int32_t ColorAttenuation(int32_t colour, int32_t) {
  return colour;
}
