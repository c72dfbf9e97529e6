// The device map's lines: what each kind of line stands for, and every way
// a line is refused, said once with its file and line.
#include "common/device_map.h"

#include <gtest/gtest.h>

#include <sstream>

namespace kvr {
namespace {

DeviceMap Parse(const std::string& text, DeviceFamily reporter, std::string* said = nullptr) {
  std::ostringstream errors;
  DeviceMap map = ParseDeviceMap(text, "map", reporter, errors);
  if (said != nullptr) *said = errors.str();
  return map;
}

TEST(DeviceMap, EachKindOfLineStandsForItsConnectionAndInputs) {
  const DeviceMap map = Parse(
      "# a bench\n"
      "usbio 0 modbus-tcp 10.0.0.5 unit 1 discrete 0\n"
      "usbio 15 modbus-tcp [fe80::1]:1502 unit 255 holding 0x10 bit 8  # upper byte\n"
      "probe 7 modbus-rtu /dev/ttyUSB0 19200 8E1 unit 247 input 65530\r\n"
      "usbio 1 modbus-rtu /dev/ttyUSB0 19200 8E1 unit 2 coils 100\n"
      "usbio 2 firmata /dev/ttyACM0 port 1\n"
      "probe 0 firmata /dev/ttyACM0 analog 10\n",
      DeviceFamily::UsbIo);
  ASSERT_EQ(map.devices.size(), 6u);
  const MappedDevice& tcp = map.devices[0];
  EXPECT_EQ(tcp.link.Key(), "modbus-tcp 10.0.0.5:502");
  EXPECT_EQ(tcp.Span(), 8);
  const MappedDevice& v6 = map.devices[1];
  EXPECT_EQ(v6.link.Place(), "[fe80::1]:1502");
  EXPECT_EQ(v6.address, 16);
  EXPECT_EQ(v6.bit, 8);
  EXPECT_EQ(v6.Span(), 1);
  const MappedDevice& rtu = map.devices[2];
  EXPECT_EQ(rtu.family, DeviceFamily::Probe);
  EXPECT_EQ(rtu.link.Place(), "/dev/ttyUSB0 19200 8E1");
  EXPECT_EQ(rtu.Span(), 6);
  EXPECT_EQ(rtu.line, 4);
  EXPECT_EQ(map.devices[3].link.Key(), rtu.link.Key()) << "one bus, one connection";
  EXPECT_EQ(map.devices[4].link.Place(), "/dev/ttyACM0 57600");
  EXPECT_EQ(map.devices[4].port, 1);
  EXPECT_EQ(map.devices[5].firstAnalog, 10);
  EXPECT_EQ(map.devices[5].text, "probe 0 firmata /dev/ttyACM0 analog 10");
}

TEST(DeviceMap, ABadLineIsLeftOutAndSaidOnceByTheReaderOfItsFamily) {
  struct Bad {
    const char* line;
    const char* said;
  };
  const Bad modules[] = {
      {"usbio 16 modbus-tcp h unit 1 discrete 0", "channel 16 is outside 0 to 15"},
      {"usbio 0 modbus-udp h unit 1 discrete 0", "unknown connection 'modbus-udp'"},
      {"usbio 0 modbus-tcp h:0 unit 1 discrete 0", "port 0 is outside 1 to 65535"},
      {"usbio 0 modbus-tcp :502 unit 1 discrete 0", "names no host"},
      {"usbio 0 modbus-tcp h discrete 0", "expected 'unit N'"},
      {"usbio 0 modbus-rtu /dev/x 1234 unit 1 discrete 0", "speed 1234 is not one"},
      {"usbio 0 modbus-rtu /dev/x 9600 unit 0 discrete 0", "unit 0 is outside 1 to 247"},
      {"usbio 0 modbus-tcp h unit 1 registers 0", "'registers' is not a table"},
      {"usbio 0 modbus-tcp h unit 1 discrete 65530", "leaves no room for 8 inputs"},
      {"usbio 0 modbus-tcp h unit 1 discrete 0 bit 2", "'bit' belongs to a module on an input"},
      {"usbio 0 modbus-tcp h unit 1 input 0 bit 9", "bit 9 is outside 0 to 8"},
      {"usbio 0 modbus-tcp h unit 1 input 0 extra", "unexpected 'extra'"},
      {"usbio 0 firmata /dev/x analog 0", "expected 'port P'"},
      {"usbio 0", "expected: usbio CHANNEL"},
      {"sensor 0 modbus-tcp h", "unknown word 'sensor'"},
  };
  for (const Bad& bad : modules) {
    std::string said;
    EXPECT_TRUE(Parse(bad.line, DeviceFamily::UsbIo, &said).devices.empty()) << bad.line;
    EXPECT_EQ(said.rfind("map:1: ", 0), 0u) << said;
    EXPECT_NE(said.find(bad.said), std::string::npos) << bad.line << " -> " << said;
    Parse(bad.line, DeviceFamily::Probe, &said);
    EXPECT_EQ(said, "") << "said by the module reader only: " << bad.line;
  }
  std::string said;
  Parse("probe 0 modbus-tcp h unit 1 discrete 0\nprobe 0 firmata /dev/x analog 11",
        DeviceFamily::Probe, &said);
  EXPECT_NE(said.find("map:1: 'discrete' is not a table a probe reads"), std::string::npos) << said;
  EXPECT_NE(said.find("map:2: analog 11 is outside 0 to 10"), std::string::npos) << said;
}

TEST(DeviceMap, AChannelOrASerialLineGoesToItsFirstLine) {
  std::string said;
  const DeviceMap map = Parse(
      "usbio 3 modbus-tcp a unit 1 discrete 0\n"
      "usbio 3 modbus-tcp b unit 1 discrete 0\n"
      "probe 3 modbus-tcp b unit 1 input 0\n"
      "usbio 4 modbus-rtu /dev/ttyS0 9600 unit 1 coils 0\n"
      "usbio 5 modbus-rtu /dev/ttyS0 19200 unit 1 coils 0\n"
      "usbio 6 firmata /dev/ttyS0 port 0\n"
      "usbio 7 modbus-rtu /dev/ttyS0 9600 8N1 unit 2 coils 0\n",
      DeviceFamily::UsbIo, &said);
  ASSERT_EQ(map.devices.size(), 4u);
  EXPECT_EQ(map.devices[1].family, DeviceFamily::Probe) << "a probe channel is not a module's";
  EXPECT_EQ(map.devices[3].channel, 7) << "8N1 is the frame a bare speed means";
  EXPECT_NE(said.find("map:2: module channel 3 is given on line 1 already"), std::string::npos);
  EXPECT_NE(said.find("map:5: /dev/ttyS0 is used as /dev/ttyS0 9600 8N1 on line 4"),
            std::string::npos)
      << said;
  EXPECT_NE(said.find("map:6: /dev/ttyS0 is used as"), std::string::npos) << said;
}

}  // namespace
}  // namespace kvr
