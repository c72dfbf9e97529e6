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

TEST(DevicesCommand, ListsModulesPreparedOrNotAndProbesWithTheirBackendAndPath) {
  test::FakeHid hid;
  hid.Module("/fake/plain", 5, 0);
  hid.Module("/fake/prepared", 3);
  hid.Probe("/fake/probe", 7);
  test::ProgramFolder program;
  testing::internal::CaptureStdout();
  EXPECT_EQ(RunDevices(program.Path()), 0);
  const std::string listed = testing::internal::GetCapturedStdout();

  std::istringstream lines(listed);
  std::string heading, first, second, third, hint;
  std::getline(lines, heading);
  std::getline(lines, first);
  std::getline(lines, second);
  std::getline(lines, third);
  std::getline(lines, hint);
  // By channel, modules before probes; columns line up under the heading.
  EXPECT_EQ(heading, "方式      Ch  種類      準備  場所");
  EXPECT_EQ(first, "fake hid  3   USB-IO    済    /fake/prepared");
  EXPECT_EQ(second, "fake hid  5   USB-IO    未    /fake/plain");
  EXPECT_EQ(third, "fake hid  7   プローブ  -     /fake/probe");
  EXPECT_NE(hint.find("マイコン設定書込"), std::string::npos) << listed;
  EXPECT_EQ(hid.OpenHandles(), 0) << "the listing leaves nothing open";
}

TEST(DevicesCommand, ShowsWhetherEachDeviceOfTheMapAnswersAndCheckFailsWhenOneDoesNot) {
  test::FakeHid hid;
  hid.Module("/fake/prepared", 3);
  test::ModbusServer server;
  test::TempFolder folder;
  const std::string at = " modbus-tcp " + server.Place() + " unit ";
  const test::ScopedEnvironment map("KVR_DEVICES",
                                    folder
                                        .Write("devices.conf", "usbio 0" + at +
                                                                   "1 discrete 0\n"
                                                                   "usbio 1" +
                                                                   at + "7 discrete 0\n")
                                        .string());
  test::ProgramFolder program;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(RunDevices(program.Path()), 0);
  EXPECT_EQ(RunDevices(program.Path(), true), 1);
  testing::internal::GetCapturedStderr();
  std::istringstream lines(testing::internal::GetCapturedStdout());
  std::string heading, first, second, third;
  std::getline(lines, heading);
  std::getline(lines, first);
  std::getline(lines, second);
  std::getline(lines, third);
  const std::string place = server.Place() + " unit 1 discrete 0";
  EXPECT_EQ(heading, std::string("方式        Ch  種類      準備  場所") +
                         std::string(place.size() + 2 - 4, ' ') + "状態");
  EXPECT_EQ(first, "modbus-tcp  0   USB-IO    済    " + place + "  応答あり");
  EXPECT_EQ(second, "modbus-tcp  1   USB-IO    済    " + server.Place() +
                        " unit 7 discrete 0  応答なし (Target device failed to respond)");
  EXPECT_EQ(third, "fake hid    3   USB-IO    済    /fake/prepared") << "no state of its own";
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
