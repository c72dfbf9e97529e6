// The reading of our HID reports and descriptors, byte by byte.
#include "common/hid_protocol.h"

#include <gtest/gtest.h>

#include <vector>

namespace kvr::hid {
namespace {

// The report descriptors of docs/hid-protocol.md, as a device sends them.
const std::vector<uint8_t> kModuleDescriptor = {
    0x06, 0x54, 0xFF, 0x09, 0x01, 0xA1, 0x01, 0x85, 0x01, 0x09, 0x10, 0x15, 0x00, 0x25, 0x01,
    0x75, 0x01, 0x95, 0x08, 0x81, 0x02, 0x85, 0x02, 0x09, 0x20, 0x15, 0x00, 0x26, 0xFF, 0x00,
    0x75, 0x08, 0x95, 0x03, 0xB1, 0x02, 0x85, 0x03, 0x09, 0x21, 0x95, 0x01, 0xB1, 0x02, 0xC0};
const std::vector<uint8_t> kProbeDescriptor = {
    0x06, 0x54, 0xFF, 0x09, 0x02, 0xA1, 0x01, 0x85, 0x01, 0x09, 0x11, 0x15, 0x00,
    0x26, 0xFF, 0x0F, 0x75, 0x10, 0x95, 0x06, 0x81, 0x02, 0x85, 0x02, 0x09, 0x20,
    0x15, 0x00, 0x26, 0xFF, 0x00, 0x75, 0x08, 0x95, 0x03, 0xB1, 0x02, 0xC0};

TEST(HidProtocol, TheTopUsageOfADescriptorIsWhatAUdevRuleMatches) {
  const auto module = TopUsageOf(kModuleDescriptor);
  ASSERT_TRUE(module);
  EXPECT_EQ(module->page, kUsagePage);
  EXPECT_EQ(module->usage, kModuleUsage);
  const auto probe = TopUsageOf(kProbeDescriptor);
  ASSERT_TRUE(probe);
  EXPECT_EQ(probe->usage, kProbeUsage);

  // A keyboard; a usage with its page in four bytes; a long item first.
  const auto keyboard = TopUsageOf(std::vector<uint8_t>{0x05, 0x01, 0x09, 0x06, 0xA1, 0x01});
  ASSERT_TRUE(keyboard);
  EXPECT_EQ(keyboard->page, 0x01);
  const auto extended =
      TopUsageOf(std::vector<uint8_t>{0x05, 0x01, 0x0B, 0x02, 0x00, 0x54, 0xFF, 0xA1, 0x01});
  ASSERT_TRUE(extended);
  EXPECT_EQ(extended->page, kUsagePage);
  EXPECT_EQ(extended->usage, kProbeUsage);
  const auto afterLong = TopUsageOf(
      std::vector<uint8_t>{0xFE, 0x02, 0x10, 0xAA, 0xBB, 0x06, 0x54, 0xFF, 0x09, 0x01, 0xA1, 0x01});
  ASSERT_TRUE(afterLong);
  EXPECT_EQ(afterLong->usage, kModuleUsage);

  // Cut inside an item, a collection without a usage, or no collection.
  EXPECT_FALSE(
      TopUsageOf(std::vector<uint8_t>(kModuleDescriptor.begin(), kModuleDescriptor.begin() + 2)));
  EXPECT_FALSE(TopUsageOf(std::vector<uint8_t>{0x06, 0x54, 0xFF, 0xA1, 0x01}));
  EXPECT_FALSE(TopUsageOf(std::vector<uint8_t>{0x06, 0x54, 0xFF, 0x09, 0x01}));
  EXPECT_FALSE(TopUsageOf(std::vector<uint8_t>{0xFE}));
}

TEST(HidProtocol, InputReportsAreTakenOnlyWhole) {
  int32_t values[6] = {-1, -1, -1, -1, -1, -1};
  EXPECT_TRUE(ReadInput(std::vector<uint8_t>{kInputReport, 0xA5}, DeviceFamily::UsbIo, values));
  EXPECT_EQ(values[0], 0xA5);
  EXPECT_EQ(values[1], -1) << "a module gives one value";
  EXPECT_FALSE(ReadInput(std::vector<uint8_t>{kInputReport}, DeviceFamily::UsbIo, values));
  EXPECT_FALSE(ReadInput(std::vector<uint8_t>{kInputReport, 1, 2}, DeviceFamily::UsbIo, values));
  EXPECT_FALSE(ReadInput(std::vector<uint8_t>{kIdentityReport, 1}, DeviceFamily::UsbIo, values));

  std::vector<uint8_t> probe{kInputReport, 0xFF, 0x0F, 0, 0, 1, 0, 0x34, 0x02, 0, 0, 7, 0};
  EXPECT_TRUE(ReadInput(probe, DeviceFamily::Probe, values));
  EXPECT_EQ(std::vector<int32_t>(values, values + 6),
            (std::vector<int32_t>{4095, 0, 1, 0x234, 0, 7}));
  probe[4] = 0x10;  // 4096: past twelve bits, the whole report is left out
  values[5] = -1;
  EXPECT_FALSE(ReadInput(probe, DeviceFamily::Probe, values));
  EXPECT_EQ(values[5], -1);
  probe.pop_back();
  EXPECT_FALSE(ReadInput(probe, DeviceFamily::Probe, values));
}

}  // namespace
}  // namespace kvr::hid
