// The device libraries on USB HID devices of our protocol, through their
// entry points as the program calls them, with fake devices behind the
// HID port: what a search finds, what a read takes, what is left out, a
// device pulled out and plugged back, and the settings write.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "support/fake_hid.h"
#include "support/simulation.h"

namespace tavelin {
namespace {

using test::BuiltLibraries;
using test::Described;

// Passes until `done`, as a run makes them, for at most `seconds`.
bool ReadUntil(const std::function<void()>& pass, const std::function<bool()>& done,
               double seconds = 3.0) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (std::chrono::steady_clock::now() < deadline) {
    pass();
    if (done()) return true;
  }
  return false;
}

class HidLibrary : public ::testing::Test {
 protected:
  test::FakeHid hid;
  USB_IO_IF io{BuiltLibraries().usbIo.api};
  KVR_USB_Probe probes{BuiltLibraries().usbProbe.api};
  ELM327_Info device;

  // As the program does at its end, before the devices go.
  void TearDown() override {
    io.closeAllDevice();
    probes.closeAllDevice();
  }
  void Connect() {
    io.Data_ALL_Clear();
    io.Data_ALL_Set(device);
  }
  bool ModuleReads(int16_t channel, int32_t input) {
    return ReadUntil([&] { io.ReciveData(); }, [&] { return io.USBIO_J1_Data(channel) == input; });
  }
};

TEST_F(HidLibrary, ASearchFindsOurDevicesByUsageWithTheirOwnChannelsAndKinds) {
  hid.Module("/fake/prepared", 3);
  hid.Module("/fake/plain", 5, 0);
  hid.Probe("/fake/probe", 2);
  hid.Plug("/fake/keyboard", 0x06, {}, 0x0001);

  io.openDevice();  // kind 184: prepared modules only
  EXPECT_EQ(io.FindDevice, 1);
  EXPECT_GE(io.HidCh(3), 0);
  EXPECT_EQ(io.HidCh(5), -1);
  io.Param_ALL_Clear();
  io.searchDevice();  // kind 0: every module
  EXPECT_EQ(io.FindDevice, 2);
  EXPECT_GE(io.HidCh(5), 0);
  probes.openDevice();
  EXPECT_EQ(probes.FindDevice, 1);
  EXPECT_GE(probes.HidCh(2), 0);

  EXPECT_EQ(Described(3), "fake hid\t/fake/prepared");
  EXPECT_EQ(Described(4), "");
  char small[9];
  EXPECT_EQ(BuiltLibraries().usbIo.api.describe_USBIO(3, small, sizeof small), 23);
  EXPECT_STREQ(small, "fake hid");  // cut to fit, with its zero

  // Searched twice, the modules are open once: nothing leaks across searches.
  EXPECT_EQ(hid.OpenHandles(), 3);
  io.closeAllDevice();
  EXPECT_EQ(hid.OpenHandles(), 1);
  probes.closeAllDevice();
  EXPECT_EQ(hid.OpenHandles(), 0);
}

struct LeftOut {
  const char* name;
  std::function<void(test::FakeHid&)> plug;
  int16_t found;
  const char* said;
};

TEST_F(HidLibrary, DevicesThatCannotBeUsedAreLeftOutAndSaidSo) {
  const LeftOut cases[] = {
      {"two modules claim one channel",
       [](test::FakeHid& h) {
         h.Module("/fake/first", 4);
         h.Module("/fake/second", 4);
       },
       1, "two modules claim channel 4: \"/fake/first\" is used, \"/fake/second\" left out"},
      {"another protocol version", [](test::FakeHid& h) { h.Module("/fake/new", 1, 184, 2); }, 0,
       "unknown protocol version 2"},
      {"channel out of range", [](test::FakeHid& h) { h.Module("/fake/far", 16); }, 0,
       "channel 16 out of range"},
      {"identity cut short",
       [](test::FakeHid& h) {
         h.Plug("/fake/short", kvr::hid::kModuleUsage, {2, 1, 3});
       },
       0, "no identity report (3 bytes)"},
      {"no identity at all",
       [](test::FakeHid& h) { h.Plug("/fake/mute", kvr::hid::kModuleUsage, {}); }, 0,
       "no identity report (0 bytes)"},
  };
  for (const LeftOut& c : cases) {
    testing::internal::CaptureStderr();
    c.plug(hid);
    io.Param_ALL_Clear();
    io.searchDevice();
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(io.FindDevice, c.found) << c.name;
    EXPECT_NE(said.find(c.said), std::string::npos) << c.name << ": " << said;
    EXPECT_EQ(hid.OpenHandles(), c.found) << c.name << ": a device left out stays closed";
    io.closeAllDevice();
    hid.Reset();
  }
  // A probe that reports another device's marker, or a channel past 7.
  hid.Probe("/fake/odd", 1, 184);
  hid.Probe("/fake/far", 8);
  testing::internal::CaptureStderr();
  probes.openDevice();
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(probes.FindDevice, 0);
  EXPECT_NE(said.find("marker 184 is not a probe's"), std::string::npos) << said;
  EXPECT_NE(said.find("channel 8 out of range"), std::string::npos) << said;
}

TEST_F(HidLibrary, AReadTakesTheNewestReportOfEachDeviceAndKeepsTheLastOfOneThatSentNothing) {
  hid.Module("/fake/zero", 0);
  hid.Module("/fake/one", 1);
  io.openDevice();
  Connect();
  hid.Bits("/fake/zero", 0x01);
  hid.Bits("/fake/zero", 0x81);  // two queued: the newer counts
  hid.Bits("/fake/one", 0x0F);
  ASSERT_TRUE(ModuleReads(0, 0x81));
  ASSERT_TRUE(ModuleReads(1, 0x0F));
  EXPECT_EQ(io.USBIO_J1_Data_Bit(7), 1);
  EXPECT_EQ(io.USBIO_J1_Data_Bit(8), 1);

  io.ReciveData();  // nothing new: both keep their last input
  EXPECT_EQ(io.USBIO_J1_Data(0), 0x81);
  EXPECT_EQ(io.USBIO_J1_Data(1), 0x0F);

  testing::internal::CaptureStderr();
  for (const std::vector<uint8_t>& garbled :
       {std::vector<uint8_t>{1}, {1, 2, 3}, {7, 0xFF}, std::vector<uint8_t>(64, 1)}) {
    hid.Send("/fake/zero", garbled);
  }
  hid.Bits("/fake/one", 0x10);  // a good report behind them, elsewhere
  ASSERT_TRUE(ModuleReads(1, 0x10));
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(io.USBIO_J1_Data(0), 0x81);
  EXPECT_NE(said.find("module on channel 0 (\"/fake/zero\") sent a report of"), std::string::npos)
      << said;
  EXPECT_EQ(said.find("sent a report", said.find("sent a report") + 1), std::string::npos)
      << "said once: " << said;
}

// A report past twelve bits is the protocol test's.
TEST_F(HidLibrary, AProbeGivesItsSixValuesToItsOwnPins) {
  hid.Probe("/fake/probe", 1);
  probes.openDevice();
  probes.Data_ALL_Clear();
  hid.Values("/fake/probe", {0, 1, 2, 4095, 100, 2048});
  ASSERT_TRUE(ReadUntil([&] { probes.ReciveData(); },
                        [&] { return probes.USBProbe_AN_Data(6 + 5) == 2048; }));
  EXPECT_EQ(probes.USBProbe_AN_Data(6 + 3), 4095);
  EXPECT_EQ(probes.USBProbe_AN_Data(6), 0);
}

TEST_F(HidLibrary, ADeviceLostMidRunKeepsItsInputAndIsTakenBackOnAnotherPath) {
  hid.Module("/fake/before", 3);
  io.openDevice();
  Connect();
  hid.Bits("/fake/before", 0x55);
  ASSERT_TRUE(ModuleReads(3, 0x55));

  testing::internal::CaptureStderr();
  hid.Unplug("/fake/before");
  for (int pass = 0; pass < 20; ++pass) io.ReciveData();
  EXPECT_EQ(io.USBIO_J1_Data(3), 0x55);  // its last input stays
  EXPECT_GE(io.HidCh(3), 0);             // the program notices nothing
  hid.Module("/fake/elsewhere", 7);      // another channel: not taken for it
  hid.Module("/fake/after", 3);
  const bool back = ReadUntil(
      [&] {
        hid.Bits("/fake/after", 0x66);
        io.ReciveData();
      },
      [&] { return io.USBIO_J1_Data(3) == 0x66; });
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(back) << said;
  EXPECT_NE(said.find("module on channel 3 (\"/fake/before\") is lost"), std::string::npos) << said;
  EXPECT_NE(said.find("module on channel 3 is back (\"/fake/after\")"), std::string::npos) << said;
  EXPECT_EQ(Described(3), "fake hid\t/fake/after");
  EXPECT_EQ(Described(7), "");
}

TEST_F(HidLibrary, TheSettingsWriteCountsTheModulesThatTookTheMarker) {
  for (int c : {0, 1, 2}) hid.Module("/fake/m" + std::to_string(c), c, 0);
  hid.FailWrites("/fake/m1");
  USB_IO_IF writer{BuiltLibraries().usbIo.api};  // as the writer dialog has its own
  writer.searchDevice();
  ASSERT_EQ(writer.FindDevice, 3);
  EXPECT_EQ(writer.setting_writeDevice(), 2);
  io.openDevice();
  EXPECT_EQ(io.FindDevice, 2);
  EXPECT_GE(io.HidCh(0), 0);
  EXPECT_EQ(io.HidCh(1), -1);
  EXPECT_GE(io.HidCh(2), 0);
}

}  // namespace
}  // namespace tavelin
