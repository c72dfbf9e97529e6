#include "common/simulation_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <sstream>

#include "common/signal_source.h"
#include "support/simulation.h"

namespace kvr {
namespace {

TEST(SignalSources, AnalogPatternsStayOnTheTwelveBitScale) {
  std::unique_ptr<SignalSource> sources[] = {MakeSine(1000), MakeRamp(1000),
                                             MakeNoise(4000, 500, 7)};
  for (auto& source : sources) {
    for (double ms = 0; ms < 2000; ms += 37) {
      int32_t out[kProbeInputs];
      source->Read(ms, out);
      for (int32_t value : out) {
        EXPECT_GE(value, 0);
        EXPECT_LE(value, kAnalogFullScale);
      }
    }
  }
  int32_t pins[kProbeInputs];
  MakeSine(600)->Read(150, pins);  // pin 0 at a quarter period: the top
  EXPECT_EQ(pins[0], kAnalogFullScale);
  EXPECT_EQ(pins[3], 0);  // half a period behind
}

TEST(SimulationFile, ReadsEachFamilyAndItsOptions) {
  tavelin::test::TempFolder folder;
  folder.Write("a.seq", "1 2 3 4 5 6\n");
  const auto path = folder.Write("bench.sim",
                                 "read-time-us 250\n"
                                 "usbio 7 plain counter vanish-after 3 # pulled out soon\n"
                                 "probe 2 script a.seq\n"
                                 "probe 3 noise\n");
  std::ostringstream errors;
  const auto usbio = ReadSimulationFile(path.string(), DeviceFamily::UsbIo, errors);
  const auto probes = ReadSimulationFile(path.string(), DeviceFamily::Probe, errors);
  EXPECT_EQ(errors.str(), "");
  EXPECT_EQ(usbio.readTimeUs, 250);
  ASSERT_EQ(usbio.devices.size(), 1u);
  EXPECT_EQ(usbio.devices[0].channel, 7);
  EXPECT_FALSE(usbio.devices[0].prepared);
  EXPECT_EQ(usbio.devices[0].vanishAfterReads, 3);
  ASSERT_EQ(probes.devices.size(), 2u);
  EXPECT_TRUE(probes.devices[0].prepared);
}

// Only plain files of a sane size are read, and each refusal says why, once
// (the digital library says it): a FIFO or a device would hang the start or
// fill the memory.
TEST(SimulationFile, TakesOnlyPlainFilesOfASaneSizeAndSaysWhyOnce) {
  tavelin::test::TempFolder folder;
  const auto fifo = folder.Path() / "fifo.sim";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const auto large = folder.Write("large.sim", "");
  std::filesystem::resize_file(large, 2 << 20);
  struct Case {
    std::string path;
    std::string why;
  };
  const Case cases[] = {{fifo.string(), "is not a plain file"},
                        {"/dev/urandom", "is not a plain file"},
                        {folder.Path().string(), "is a folder"},
                        {large.string(), "is larger than 1 MB"},
                        {"/nonexistent/x.sim", "cannot be read (No such file"}};
  for (const Case& c : cases) {
    std::ostringstream errors, probeErrors;
    EXPECT_TRUE(ReadSimulationFile(c.path, DeviceFamily::UsbIo, errors).devices.empty()) << c.path;
    EXPECT_TRUE(ReadSimulationFile(c.path, DeviceFamily::Probe, probeErrors).devices.empty());
    EXPECT_NE(errors.str().find(c.path + ": the simulation file " + c.why), std::string::npos)
        << errors.str();
    EXPECT_EQ(probeErrors.str(), "") << c.path;
  }
  const auto sim = folder.Write("bench.sim", "usbio 0 prepared script /dev/zero\n");
  std::ostringstream errors;
  EXPECT_TRUE(ReadSimulationFile(sim.string(), DeviceFamily::UsbIo, errors).devices.empty());
  EXPECT_NE(errors.str().find("script /dev/zero is not a plain file"), std::string::npos)
      << errors.str();
}

// Every number is range-checked the same way, in scripts too, where the
// script's own line is named; a long line is not repeated whole in its message.
TEST(SimulationFile, NumbersOutsideTheirRangeAndLongWordsAreRefusedBriefly) {
  tavelin::test::TempFolder folder;
  folder.Write("bad.seq", "1\n\n256\n");
  const std::string huge = "99999999999999999999";
  const auto path = folder.Write(
      "bench.sim", "usbio 0 prepared counter " + huge + "\n" + "usbio 1 prepared walk inf\n" +
                       "usbio 2 prepared constant " + huge + "\n" + "read-time-us " + huge + "\n" +
                       "usbio 3 prepared square 0 5\n" + std::string(100000, 'x') + "\n" +
                       "usbio 4 prepared script bad.seq\n");
  std::ostringstream errors;
  EXPECT_TRUE(ReadSimulationFile(path.string(), DeviceFamily::UsbIo, errors).devices.empty());
  const std::string said = errors.str();
  for (const char* line : {":1: step ", ":2: step inf is outside", ":3: value ", ":4: read time ",
                           ":5: period 0 is outside", "bad.seq:3: value 256 is outside 0 to 255"}) {
    EXPECT_NE(said.find(line), std::string::npos) << line << "\n" << said;
  }
  EXPECT_NE(said.find(":1: step 99999999999999999999 is outside 0 to 3600000 ms"),
            std::string::npos);
  EXPECT_NE(said.find(":3: value 99999999999999999999 is outside 0 to 255"), std::string::npos);
  EXPECT_LT(said.size(), 1000u);
  tavelin::test::TempFolder probes;
  const auto sine = probes.Write("bench.sim", "probe 0 sine 1e300\n");
  std::ostringstream probeErrors;
  EXPECT_TRUE(ReadSimulationFile(sine.string(), DeviceFamily::Probe, probeErrors).devices.empty());
  EXPECT_NE(probeErrors.str().find("period 1e300 is outside 0 to 3600000 ms"), std::string::npos)
      << probeErrors.str();
}

}  // namespace
}  // namespace kvr
