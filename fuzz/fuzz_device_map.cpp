// The device map as a user writes it: whatever the text, the reader keeps
// only devices on their family's channels, one line a channel, with every
// input they read inside the address space.
#include <cstddef>
#include <cstdint>
#include <set>
#include <sstream>
#include <string>

#include "common/device_map.h"

namespace {

[[noreturn]] void Fail() {
  __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::ostringstream errors;
  const kvr::DeviceMap map = kvr::ParseDeviceMap(text, "map", kvr::DeviceFamily::UsbIo, errors);
  std::set<std::pair<kvr::DeviceFamily, int>> channels;
  for (const kvr::MappedDevice& d : map.devices) {
    const int channels_of_family = d.family == kvr::DeviceFamily::UsbIo ? 16 : 8;
    if (d.channel < 0 || d.channel >= channels_of_family) Fail();
    if (!channels.insert({d.family, d.channel}).second) Fail();
    if (d.link.kind != kvr::LinkKind::Firmata && d.address + d.Span() > 65536) Fail();
    if (d.link.kind != kvr::LinkKind::ModbusTcp && !kvr::KnownBaud(d.link.baud)) Fail();
  }
  return 0;
}
