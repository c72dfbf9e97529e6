// tavelin-cli devices on fake USB devices: what a user wiring a bench sees.
#include "cli/devices_command.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/fake_hid.h"
#include "support/modbus_server.h"
#include "support/program_folder.h"
#include "support/scoped_environment.h"
#include "support/simulation.h"

namespace tavelin::cli {
namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

TEST(DevicesCommand, ListsModulesPreparedOrNotAndProbesWithTheirBackendAndPath) {
  test::FakeHid hid;
  hid.Module("/fake/plain", 5, 0);
  hid.Module("/fake/prepared", 3);
  hid.Probe("/fake/probe", 7);
  test::ProgramFolder program;
  testing::internal::CaptureStdout();
  EXPECT_EQ(RunDevices(program.Path()), 0);
  const std::string listed = testing::internal::GetCapturedStdout();

  // By channel, modules before probes; columns line up under the heading.
  const auto lines = Lines(listed);
  ASSERT_EQ(lines.size(), 5u) << listed;
  EXPECT_EQ(std::vector(lines.begin(), lines.begin() + 4),
            (std::vector<std::string>{"方式      Ch  種類      準備  場所",
                                      "fake hid  3   USB-IO    済    /fake/prepared",
                                      "fake hid  5   USB-IO    未    /fake/plain",
                                      "fake hid  7   プローブ  -     /fake/probe"}));
  EXPECT_NE(lines[4].find("マイコン設定書込"), std::string::npos) << listed;
  EXPECT_EQ(hid.OpenHandles(), 0) << "the listing leaves nothing open";
}

TEST(DevicesCommand, ShowsWhetherEachDeviceOfTheMapAnswersAndCheckFailsWhenOneDoesNot) {
  test::FakeHid hid;
  hid.Module("/fake/prepared", 3);
  test::ModbusServer server;
  test::TempFolder folder;
  const std::string at = "modbus-tcp " + server.Place() + " unit ";
  const std::string map = "usbio 0 " + at + "1 discrete 0\nusbio 1 " + at + "7 discrete 0\n";
  const test::ScopedEnvironment mapped("KVR_DEVICES", folder.Write("devices.conf", map).string());
  test::ProgramFolder program;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(RunDevices(program.Path()), 0);
  EXPECT_EQ(RunDevices(program.Path(), true), 1);
  testing::internal::GetCapturedStderr();
  const auto lines = Lines(testing::internal::GetCapturedStdout());
  ASSERT_GE(lines.size(), 4u);
  const std::string place = server.Place() + " unit 1 discrete 0";
  EXPECT_EQ(lines[0], std::string("方式        Ch  種類      準備  場所") +
                          std::string(place.size() + 2 - 4, ' ') + "状態");
  EXPECT_EQ(lines[1], "modbus-tcp  0   USB-IO    済    " + place + "  応答あり");
  EXPECT_EQ(lines[2], "modbus-tcp  1   USB-IO    済    " + server.Place() +
                          " unit 7 discrete 0  応答なし (Target device failed to respond)");
  EXPECT_EQ(lines[3], "fake hid    3   USB-IO    済    /fake/prepared") << "no state of its own";
}

TEST(DevicesCommand, SaysSoWhenThereIsNothingAndWhenALibraryIsMissing) {
  std::ostringstream out;
  PrintDevices({}, out);
  EXPECT_EQ(out.str(), "デバイスは見つかりません\n");

  test::ProgramFolder program({}, {kKvrUsbProbeFile});
  testing::internal::CaptureStderr();
  EXPECT_EQ(RunDevices(program.Path()), 1);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("libkvr_usb_probe.so"), std::string::npos);
}

}  // namespace
}  // namespace tavelin::cli
