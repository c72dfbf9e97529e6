// What a USB device sends us: whatever the bytes, an identity, an input
// report or a report descriptor is read without a read past its end, and
// what is taken is within the protocol's ranges.
#include <cstddef>
#include <cstdint>
#include <span>

#include "common/hid_protocol.h"

namespace {

using namespace kvr;

[[noreturn]] void Fail() {
  __builtin_trap();
}

void CheckIdentity(std::span<const uint8_t> report, DeviceFamily family) {
  const hid::IdentityReading reading = hid::ReadIdentity(report, family);
  if (reading.identity.has_value() == !reading.problem.empty()) Fail();
  if (!reading.identity) return;
  if (reading.identity->channel < 0 || reading.identity->channel >= hid::ChannelsOf(family)) Fail();
  if (family == DeviceFamily::Probe && reading.identity->marker != hid::kProbeMarker) Fail();
}

void CheckInput(std::span<const uint8_t> report, DeviceFamily family) {
  int32_t values[6] = {-1, -1, -1, -1, -1, -1};
  if (!hid::ReadInput(report, family, values)) {
    for (int32_t value : values) {
      if (value != -1) Fail();  // a report left out leaves the values alone
    }
    return;
  }
  const int largest = family == DeviceFamily::UsbIo ? 255 : hid::kLargestProbeValue;
  const int count = family == DeviceFamily::UsbIo ? 1 : 6;
  for (int k = 0; k < count; ++k) {
    if (values[k] < 0 || values[k] > largest) Fail();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::span<const uint8_t> bytes(data, size);
  for (DeviceFamily family : {DeviceFamily::UsbIo, DeviceFamily::Probe}) {
    CheckIdentity(bytes, family);
    CheckInput(bytes, family);
  }
  const auto top = hid::TopUsageOf(bytes);
  if (top && size < 2) Fail();  // a usage and a collection take two bytes at least
  return 0;
}
