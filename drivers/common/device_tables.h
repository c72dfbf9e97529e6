#pragma once
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "device_backend.h"

namespace kvr {

// Handles name the device by channel, so a handle stays good across later
// searches as long as the device stays plugged in.
constexpr int32_t kHandleBase = 0x5500;

inline int32_t HandleOf(int channel) {
  return kHandleBase + channel;
}

// The channel a handle names, or -1 for a handle this library did not give.
inline int ChannelOfHandle(int32_t handle, int channels) {
  const int32_t channel = handle - kHandleBase;
  return channel >= 0 && channel < channels ? channel : -1;
}

// Channels a call may touch: what the caller says, never more than the library has.
inline int ChannelCount(int32_t maxDevice, int limit) {
  return maxDevice < 0 ? 0 : (maxDevice > limit ? limit : maxDevice);
}

struct SearchTables {
  int32_t* DeviceHandle;
  int32_t* HidCh;
  int channels;
  int32_t* DeviceWork_A;
  int32_t* DeviceWork_B;
};

// Marks each accepted device in the tables; channels without one get -1,
// and a device the search does not hand out is closed again. Returns the
// number found.
template <typename Accept>
int SearchInto(DeviceBackend& backend, const SearchTables& t, Accept accept) {
  backend.Rescan();
  int found = 0;
  for (int c = 0; c < t.channels; ++c) {
    if (backend.Present(c) && accept(c)) {
      t.DeviceHandle[c] = HandleOf(c);
      t.HidCh[c] = found++;
      t.DeviceWork_A[c] = c;
      t.DeviceWork_B[c] = 1;
    } else {
      backend.Close(c);
      t.HidCh[c] = -1;
    }
  }
  return found;
}

// A device's description into a caller's buffer of `size` bytes, cut to
// fit with its terminating zero; the whole text's length.
inline int32_t DescribeInto(const DeviceBackend& backend, int channel, char* text, int32_t size) {
  const std::string described = backend.Describe(channel);
  if (text != nullptr && size > 0) {
    const std::size_t fits = std::min(described.size(), static_cast<std::size_t>(size - 1));
    std::memcpy(text, described.data(), fits);
    text[fits] = '\0';
  }
  return static_cast<int32_t>(described.size());
}

}  // namespace kvr
