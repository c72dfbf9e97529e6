// The device libraries on the devices of the device map, through their
// entry points as the program calls them, against real protocol partners:
// a libmodbus server on 127.0.0.1 or on a pseudo-terminal, and a board
// that answers as StandardFirmata does.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "support/fake_hid.h"
#include "support/firmata_board.h"
#include "support/modbus_server.h"
#include "support/scoped_environment.h"
#include "support/simulation.h"

namespace tavelin {
namespace {

using test::BuiltLibraries;
using test::ModbusServer;
using Clock = std::chrono::steady_clock;

class MappedDevices : public ::testing::Test {
 protected:
  // The partners outlive the devices: closed first, they say nothing lost.
  std::vector<std::unique_ptr<ModbusServer>> servers;
  std::unique_ptr<test::FirmataBoard> board;
  test::FakeHid hid;  // no HID device plugged, unless a test plugs one
  test::TempFolder folder;
  std::unique_ptr<test::ScopedEnvironment> map;
  USB_IO_IF io{BuiltLibraries().usbIo.api};
  KVR_USB_Probe probes{BuiltLibraries().usbProbe.api};
  ELM327_Info device;
  double longestPassMs = 0.0;

  void TearDown() override {
    io.closeAllDevice();
    probes.closeAllDevice();
  }
  ModbusServer& Server(ModbusServer::Kind kind = ModbusServer::Kind::Tcp, int unit = 1) {
    return *servers.emplace_back(std::make_unique<ModbusServer>(kind, unit));
  }
  // The map `text`, each "@" in it standing for `at`.
  void Map(std::string text, const std::string& at = {}) {
    for (auto p = text.find('@'); p != std::string::npos; p = text.find('@', p + at.size()))
      text.replace(p, 1, at);
    map.reset();  // its old value back first, then the new one
    map = std::make_unique<test::ScopedEnvironment>("KVR_DEVICES",
                                                    folder.Write("devices.conf", text).string());
  }
  void Search() {
    io.Param_ALL_Clear();
    io.openDevice();
    io.Data_ALL_Clear();
    io.Data_ALL_Set(device);
    probes.Param_ALL_Clear();
    probes.openDevice();
  }
  // Passes as a run makes them, until `done`, for at most `seconds`; the
  // longest pass is kept.
  bool ReadUntil(const std::function<bool()>& done, double seconds = 5.0) {
    const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < deadline) {
      const auto start = Clock::now();
      io.ReciveData();
      probes.ReciveData();
      longestPassMs = std::max(
          longestPassMs, std::chrono::duration<double, std::milli>(Clock::now() - start).count());
      if (done()) return true;
    }
    return false;
  }
  // A mapped device's state: the last field of its description.
  static std::string State(int channel, bool probe = false) {
    const std::string described = test::Described(channel, probe);
    return described.substr(described.rfind('\t') + 1);
  }
};

// A pass never waits on the network: a fault that stalled it would cost a
// timeout of 100 ms or more; sanitizers leave passes far below this.
constexpr double kStalledPassMs = 50.0;

TEST_F(MappedDevices, ModbusTcpInputsArriveAndFollowTheServer) {
  ModbusServer& server = Server();
  Map("usbio 0 @ discrete 0\n"
      "usbio 1 @ discrete 8   # beside the first: one request for both\n"
      "usbio 2 @ holding 40 bit 4\n"
      "probe 3 @ input 100\n",
      "modbus-tcp " + server.Place() + " unit 1");
  server.SetDiscrete(0, true);
  server.SetDiscrete(7, true);
  server.SetDiscrete(9, true);
  server.SetHoldingRegister(40, 0x0A50);  // bits 4..11: 0xA5
  for (int p = 0; p < 6; ++p) server.SetInputRegister(100 + p, static_cast<uint16_t>(1000 * p + 7));
  Search();
  EXPECT_EQ(io.FindDevice, 3) << "a mapped module is always prepared";
  EXPECT_EQ(probes.FindDevice, 1);
  EXPECT_EQ(State(0), "ok");
  ASSERT_TRUE(ReadUntil([&] { return io.USBIO_J1_Data(0) == 0x81; }));
  EXPECT_EQ(io.USBIO_J1_Data(1), 0x02);
  EXPECT_EQ(io.USBIO_J1_Data(2), 0xA5);
  EXPECT_EQ(probes.USBProbe_AN_Data(3 * 6 + 0), 7);
  EXPECT_EQ(probes.USBProbe_AN_Data(3 * 6 + 5), 5007);

  server.SetDiscrete(0, false);
  server.SetInputRegister(105, 65535);
  EXPECT_TRUE(ReadUntil(
      [&] { return io.USBIO_J1_Data(0) == 0x80 && probes.USBProbe_AN_Data(3 * 6 + 5) == 65535; }));
  EXPECT_LT(longestPassMs, kStalledPassMs);
}

TEST_F(MappedDevices, AServerSwitchedOffKeepsTheLastInputAndComesBackByItself) {
  ModbusServer& server = Server();
  Map("usbio 5 modbus-tcp " + server.Place() + " unit 1 discrete 16\n");
  server.SetDiscrete(16, true);
  Search();
  ASSERT_TRUE(ReadUntil([&] { return io.USBIO_J1_Data(5) == 0x01; }));

  testing::internal::CaptureStderr();
  server.Stop();
  EXPECT_TRUE(ReadUntil([&] { return State(5).rfind("lost: ", 0) == 0; }));
  ReadUntil([] { return false; }, 0.3);
  EXPECT_EQ(io.USBIO_J1_Data(5), 0x01) << "the last input stays";
  server.SetDiscrete(17, true);
  server.Start();
  EXPECT_TRUE(ReadUntil([&] { return io.USBIO_J1_Data(5) == 0x03; })) << "back into the same entry";
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_NE(said.find("module on channel 5 (modbus-tcp 127.0.0.1:"), std::string::npos) << said;
  EXPECT_NE(said.find("is lost"), std::string::npos) << said;
  EXPECT_NE(said.find("is back"), std::string::npos) << said;
  EXPECT_EQ(State(5), "ok");
  EXPECT_LT(longestPassMs, kStalledPassMs);
}

TEST_F(MappedDevices, ExceptionsWrongUnitsAndSlowServersCostOnlyTheirOwnDevices) {
  ModbusServer& server = Server();
  server.SetLastInputRegister(6);  // a probe at 6 is past the server's registers
  server.SetInputRegister(0, 42);
  server.SetDiscrete(0, true);
  Map("probe 0 @ 1 input 0\nprobe 1 @ 1 input 6\nusbio 0 @ 1 discrete 0\nusbio 1 @ 9 discrete 0\n",
      "modbus-tcp " + server.Place() + " unit");
  testing::internal::CaptureStderr();
  Search();
  ASSERT_TRUE(ReadUntil([&] {
    return probes.USBProbe_AN_Data(0) == 42 && State(1, true) != "waiting" && State(1) != "waiting";
  }));
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(State(1, true), "lost: Illegal data address");
  EXPECT_EQ(State(1), "lost: Target device failed to respond");
  EXPECT_EQ(State(0), "ok");
  EXPECT_EQ(io.USBIO_J1_Data(0), 0x01);

  server.SetDelayMs(30);  // slow, but inside the 100 ms a request may take
  server.SetInputRegister(0, 43);
  EXPECT_TRUE(ReadUntil([&] { return probes.USBProbe_AN_Data(0) == 43; }));
  EXPECT_LT(longestPassMs, kStalledPassMs);
}

TEST_F(MappedDevices, ModbusRtuOnASerialLineAsksEachUnitOnTheBus) {
  ModbusServer& bus = Server(ModbusServer::Kind::Rtu, 3);
  bus.SetInputRegister(10, 0x00FF);
  Map("usbio 0 @ 3 input 10\nusbio 1 @ 4 input 10   # no such unit: no answer\n",
      "modbus-rtu " + bus.Place() + " 115200 8N1 unit");
  testing::internal::CaptureStderr();
  Search();
  ASSERT_TRUE(ReadUntil([&] { return io.USBIO_J1_Data(0) == 0xFF && State(1) != "waiting"; }));
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(State(1), "lost: Connection timed out");
  bus.SetInputRegister(10, 0x0011);
  EXPECT_TRUE(ReadUntil([&] { return io.USBIO_J1_Data(0) == 0x11; }));
  EXPECT_LT(longestPassMs, kStalledPassMs);
}

TEST_F(MappedDevices, AFirmataBoardServesAPortAndSixAnalogPinsAndIsSetUpAgainAfterAReset) {
  board = std::make_unique<test::FirmataBoard>();
  Map("usbio 2 firmata @ port 1\nprobe 0 firmata @ 115200 analog 0\n", board->Path());
  // Rejected: one board at two speeds.
  board->SetPin(9, true);
  board->SetAnalog(5, 1023);
  testing::internal::CaptureStderr();
  Search();
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_NE(said.find(":2: " + board->Path() + " is used as " + board->Path() + " 57600 on line 1"),
            std::string::npos)
      << said;
  EXPECT_EQ(probes.FindDevice, 0);
  ASSERT_TRUE(ReadUntil([&] { return io.USBIO_J1_Data(2) == 0x02; }));
  EXPECT_EQ(board->ModeOf(9), 0) << "the port's pins are inputs";

  Map("usbio 2 firmata @ port 1\nprobe 0 firmata @ analog 0\n", board->Path());
  Search();
  ASSERT_TRUE(ReadUntil([&] { return probes.USBProbe_AN_Data(5) == 1023; }));
  EXPECT_EQ(board->ModeOf(14), 2) << "analog pin 0 is pin 14 of an Uno, in analog mode";
  // Six pins of three bytes each fit the 57600 baud line every 4 ms.
  EXPECT_EQ(board->SamplingIntervalMs(), 4);

  board->Reset();
  board->SetAnalog(5, 17);
  board->SetPin(15, true);
  EXPECT_TRUE(ReadUntil([&] {
    return probes.USBProbe_AN_Data(5) == 17 && io.USBIO_J1_Data(2) == 0x82;
  })) << "reports are switched on again after the board reset";
  EXPECT_LT(longestPassMs, kStalledPassMs);
}

TEST_F(MappedDevices, TheMapGoesFirstWhereAUsbDeviceClaimsItsChannel) {
  ModbusServer& server = Server();
  hid.Module("/fake/module", 4);
  hid.Module("/fake/other", 6);
  Map("usbio 4 modbus-tcp " + server.Place() + " unit 1 coils 0\n");
  testing::internal::CaptureStderr();
  Search();
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(io.FindDevice, 2);
  EXPECT_NE(said.find("module channel 4 is the device map's; the USB device \"/fake/module\" "
                      "on it is left out"),
            std::string::npos)
      << said;
  EXPECT_EQ(test::Described(4), "modbus-tcp\t" + server.Place() + " unit 1 coils 0\tok");
  EXPECT_EQ(test::Described(6), "fake hid\t/fake/other");
}

}  // namespace
}  // namespace tavelin
