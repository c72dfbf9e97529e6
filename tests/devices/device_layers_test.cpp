// The device layers over stand-in entry points that record what they get.
#include <gtest/gtest.h>

#include <vector>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"

namespace tavelin {
namespace {

struct Recorded {
  std::vector<int32_t> kinds;
  int32_t maxDevice = 0;
  int32_t startBits[17] = {};
  int32_t reverse[17] = {};
  double multiply[17] = {};
  int32_t maxDB = 0;
  int32_t maxInput = 0;
} g_seen;

int16_t FakeSearch(int32_t* handles, int32_t* hid, int32_t maxDevice, int32_t*, int32_t*,
                   int32_t kind) {
  g_seen.kinds.push_back(kind);
  g_seen.maxDevice = maxDevice;
  handles[2] = 77;
  hid[2] = 0;
  return kind == kUsbIoKindAll ? 3 : 1;
}

int16_t FakeReceive(int32_t*, int32_t*, int32_t, int32_t*, int32_t*, int32_t*, int32_t*,
                    int32_t* startBit, int32_t*, int32_t*, int32_t*, int32_t* reverse, int32_t*) {
  std::copy(startBit, startBit + 17, g_seen.startBits);
  std::copy(reverse, reverse + 17, g_seen.reverse);
  return 0;
}

int16_t FakeCalculate(int32_t*, int32_t, double*, double* multiply, double*, int32_t*, int32_t*,
                      int32_t*, int32_t*, int32_t*, int32_t*, int32_t*) {
  std::copy(multiply, multiply + 17, g_seen.multiply);
  return 0;
}

int16_t FakeWrite(int32_t* handles, int32_t, int32_t*, int32_t*) {
  return handles[2] == 77 ? -2 : 0;  // a negative count shows the sign extension
}

int32_t FakeProbeSearch(int32_t*, int32_t* hid, int32_t, int32_t*, int32_t*, int32_t kind) {
  g_seen.kinds.push_back(kind);
  hid[0] = 0;
  return 70000;  // wider than 16 bits: the analog count is 32 bits
}

int32_t FakeProbeReceive(int32_t*, int32_t*, int32_t, int32_t*, int32_t*, int32_t*, int32_t maxDB,
                         int32_t maxInput) {
  g_seen.maxDB = maxDB;
  g_seen.maxInput = maxInput;
  return 0;
}

UsbIoEntryPoints FakeUsbIo() {
  UsbIoEntryPoints api;
  api.search_USBIO = FakeSearch;
  api.recive_USBIO = FakeReceive;
  api.dataCalculation_USBIO = FakeCalculate;
  api.setting_write_USBIO = FakeWrite;
  return api;
}

UsbProbeEntryPoints FakeProbe() {
  UsbProbeEntryPoints api;
  api.search_USBProbe = FakeProbeSearch;
  api.recive_USBProbe = FakeProbeReceive;
  return api;
}

class DeviceLayers : public ::testing::Test {
 protected:
  void SetUp() override { g_seen = {}; }
};

TEST_F(DeviceLayers, DigitalSearchesByKindAndClearForgetsWhatItFound) {
  USB_IO_IF io(FakeUsbIo());
  io.openDevice();
  EXPECT_EQ(io.FindDevice, 1);
  EXPECT_EQ(io.HidCh(2), 0);
  io.searchDevice();
  EXPECT_EQ(io.FindDevice, 3);
  EXPECT_EQ(g_seen.kinds, (std::vector<int32_t>{184, 0}));
  EXPECT_EQ(g_seen.maxDevice, 16);
  EXPECT_EQ(io.setting_writeDevice(), -2);

  io.USBIO_ValueMAX(5) = 9.0;
  io.Param_ALL_Clear();
  EXPECT_EQ(io.FindDevice, 0);
  EXPECT_EQ(io.HidCh(2), -1);
  EXPECT_EQ(io.HidCh(16), -1);
  EXPECT_EQ(io.USBIO_ValueMAX(5), 0.0);
  EXPECT_EQ(io.setting_writeDevice(), 0);  // the handle was forgotten too
}

TEST_F(DeviceLayers, ConnectCopiesSixteenChannelsOfSettings) {
  USB_IO_IF io(FakeUsbIo());
  ELM327_Info device;
  for (int16_t c = 0; c <= 16; ++c) {
    device.usbio_StartBit(c) = c % 8 + 1;
    device.usbio_bit_reverse(c) = 1;
    device.usbio_multiply(c) = 0.5 * c;
  }
  io.Data_ALL_Set(device);
  io.ReciveData();
  io.DataCalculation();
  EXPECT_EQ(g_seen.startBits[7], 8);
  EXPECT_EQ(g_seen.reverse[15], 1);
  EXPECT_EQ(g_seen.multiply[15], 7.5);
  EXPECT_EQ(g_seen.startBits[16], 0);  // entry 16 keeps what it had
  EXPECT_EQ(g_seen.reverse[16], 0);
  // Settings changed after Connect reach the library at the next Connect only.
  device.usbio_StartBit(0) = 4;
  io.ReciveData();
  EXPECT_EQ(g_seen.startBits[0], 1);
}

TEST_F(DeviceLayers, BoundsBeyondTheTablesFailBeforeTheLibrarySeesThem) {
  USB_IO_IF io(FakeUsbIo());
  io.max_device = 17;
  EXPECT_THROW(io.ReciveData(), std::out_of_range);
  KVR_USB_Probe probe(FakeProbe());
  probe.max_DB = 49;
  EXPECT_THROW(probe.ReciveData(), std::out_of_range);
  EXPECT_EQ(g_seen.maxDB, 0);
}

TEST_F(DeviceLayers, TheProbeCountIsThirtyTwoBitsAndAReSearchStartsFromTheDefaults) {
  KVR_USB_Probe probe(FakeProbe());
  EXPECT_EQ(probe.AN_pin_comment(6), "1入力");  // each probe's pins count from one
  EXPECT_THROW(probe.USBProbe_ValueAVG_count(9), std::out_of_range);

  probe.openDevice();
  EXPECT_EQ(probe.FindDevice, 70000);
  EXPECT_EQ(g_seen.kinds, (std::vector<int32_t>{101}));
  probe.ReciveData();
  EXPECT_EQ(g_seen.maxDB, 48);
  EXPECT_EQ(g_seen.maxInput, 6);

  // A re-search starts from the defaults: pin settings are lost with it.
  probe.AN_pin_Font_size(3) = 40;
  probe.AN_pin_multiply(3) = 2.0;
  probe.Param_ALL_Clear();
  probe.openDevice();
  EXPECT_EQ(probe.AN_pin_Font_size(3), 16);
  EXPECT_EQ(probe.AN_pin_multiply(3), 1.0);
}

}  // namespace
}  // namespace tavelin
