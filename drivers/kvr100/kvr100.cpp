// Clock, running average and colour helper.
#include "kvr100.h"

#include <algorithm>

#include "common/device_backend.h"
#include "common/version_text.h"

KVR_EXPORT double kv_timeGetTime() {
  return kvr::SteadyMilliseconds();
}

KVR_EXPORT int32_t kr_Version(char* buffer) {
  kvr::FillVersionText(buffer, "Ver1.21");
  return 1;
}

// The mean of a first value and the `count` values after it, of which
// `value` is the newest. The mode is accepted for the callers' sake.
KVR_EXPORT double kr_Average(double average, double value, int32_t count, int32_t /*mode*/) {
  return (average * count + value) / (static_cast<double>(count) + 1.0);
}

// Dims a 0x00BBGGRR colour to `percent` of its brightness.
KVR_EXPORT int32_t ColorAttenuation(int32_t colour, int32_t percent) {
  const int32_t keep = std::clamp(percent, 0, 100);
  int32_t result = 0;
  for (int shift = 0; shift < 24; shift += 8) {
    const int32_t channel = (colour >> shift) & 0xFF;
    result |= (channel * keep / 100) << shift;
  }
  return result;
}
