#include "hid_protocol.h"

#include <array>

namespace kvr::hid {

uint16_t UsageOf(DeviceFamily family) {
  return family == DeviceFamily::UsbIo ? kModuleUsage : kProbeUsage;
}

int ChannelsOf(DeviceFamily family) {
  return family == DeviceFamily::UsbIo ? 16 : 8;
}

IdentityReading ReadIdentity(std::span<const uint8_t> report, DeviceFamily family) {
  if (report.size() < kIdentityBytes || report[0] != kIdentityReport) {
    return {std::nullopt, "no identity report (" + std::to_string(report.size()) + " bytes)"};
  }
  if (report[1] != kProtocolVersion) {
    return {std::nullopt, "unknown protocol version " + std::to_string(report[1])};
  }
  const int channel = report[2];
  if (channel >= ChannelsOf(family)) {
    return {std::nullopt, "channel " + std::to_string(channel) + " out of range"};
  }
  const int marker = report[3];
  if (family == DeviceFamily::Probe && marker != kProbeMarker) {
    return {std::nullopt, "marker " + std::to_string(marker) + " is not a probe's"};
  }
  return {Identity{channel, marker}, {}};
}

bool ReadInput(std::span<const uint8_t> report, DeviceFamily family, int32_t* out) {
  if (report.empty() || report[0] != kInputReport) return false;
  if (family == DeviceFamily::UsbIo) {
    if (report.size() != kModuleInputBytes) return false;
    out[0] = report[1];
    return true;
  }
  if (report.size() != kProbeInputBytes) return false;
  std::array<int32_t, 6> values{};
  for (std::size_t k = 0; k < values.size(); ++k) {
    values[k] = report[1 + 2 * k] | (report[2 + 2 * k] << 8);
    if (values[k] > kLargestProbeValue) return false;
  }
  for (std::size_t k = 0; k < values.size(); ++k) out[k] = values[k];
  return true;
}

std::array<uint8_t, 2> StoreMarker(uint8_t marker) {
  return {kStoreMarkerReport, marker};
}

std::optional<TopUsage> TopUsageOf(std::span<const uint8_t> descriptor) {
  uint16_t page = 0;  // the global usage page
  std::optional<TopUsage> usage;
  bool extended = false;
  for (std::size_t at = 0; at < descriptor.size();) {
    const uint8_t prefix = descriptor[at];
    if (prefix == 0xFE) {  // a long item: its size byte, its tag, its data
      if (at + 1 >= descriptor.size()) return std::nullopt;
      at += 3 + descriptor[at + 1];
      continue;
    }
    const std::size_t size = (prefix & 3) == 3 ? 4 : (prefix & 3);
    if (at + 1 + size > descriptor.size()) return std::nullopt;
    uint32_t data = 0;
    for (std::size_t i = 0; i < size; ++i) {
      data |= static_cast<uint32_t>(descriptor[at + 1 + i]) << (8 * i);
    }
    switch (prefix & 0xFC) {
      case 0x04:  // Usage Page (global)
        page = static_cast<uint16_t>(data);
        break;
      case 0x08:  // Usage (local); four bytes carry a page of their own
        usage = TopUsage{static_cast<uint16_t>(data >> 16), static_cast<uint16_t>(data)};
        extended = size == 4;
        break;
      case 0xA0:  // Collection: the usage before it names it, in the page now in force
        if (usage && !extended) usage->page = page;
        return usage;
      default:
        break;
    }
    at += 1 + size;
  }
  return std::nullopt;
}

}  // namespace kvr::hid
