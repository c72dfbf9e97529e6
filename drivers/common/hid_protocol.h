#pragma once
// The USB HID protocol of our modules and probes (docs/hid-protocol.md):
// the numbers, and the reading of every report a device sends.
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "simulation_file.h"

namespace kvr::hid {

constexpr uint16_t kUsagePage = 0xFF54;  // vendor-defined: ours
constexpr uint16_t kModuleUsage = 0x01;
constexpr uint16_t kProbeUsage = 0x02;

constexpr uint8_t kInputReport = 1;
constexpr uint8_t kIdentityReport = 2;     // feature, get: version, channel, marker
constexpr uint8_t kStoreMarkerReport = 3;  // feature, set: the marker to keep

constexpr uint8_t kProtocolVersion = 1;
constexpr uint8_t kPreparedMarker = 184;  // a module prepared for this system
constexpr uint8_t kProbeMarker = 101;     // every probe

// Report bytes with the report id in front, as hidraw hands them over.
constexpr std::size_t kIdentityBytes = 4;
constexpr std::size_t kModuleInputBytes = 2;
constexpr std::size_t kProbeInputBytes = 1 + 6 * 2;
constexpr std::size_t kLongestReport = 64;
constexpr int kLargestProbeValue = 4095;

uint16_t UsageOf(DeviceFamily family);
int ChannelsOf(DeviceFamily family);  // 16 modules, 8 probes

struct Identity {
  int channel = 0;
  int marker = 0;
};

// The identity feature report of a device of `family`, or why it is left
// out ("unknown protocol version 7", "channel 16 out of range", ...).
struct IdentityReading {
  std::optional<Identity> identity;
  std::string problem;
};
IdentityReading ReadIdentity(std::span<const uint8_t> report, DeviceFamily family);

// An input report into `out` (one value for a module, six for a probe);
// false for a report that is short, long, of another id or out of range.
bool ReadInput(std::span<const uint8_t> report, DeviceFamily family, int32_t* out);

// The feature report that stores a marker in a module.
std::array<uint8_t, 2> StoreMarker(uint8_t marker);

// The usage page and usage of a report descriptor's first top-level
// collection, as a udev helper reads them from sysfs; none when the
// descriptor opens no collection or is cut short.
struct TopUsage {
  uint16_t page = 0;
  uint16_t usage = 0;
};
std::optional<TopUsage> TopUsageOf(std::span<const uint8_t> descriptor);

}  // namespace kvr::hid
