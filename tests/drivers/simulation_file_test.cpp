#include "common/simulation_file.h"

#include <gtest/gtest.h>

#include <sstream>

#include "common/signal_source.h"
#include "support/simulation.h"

namespace kvr {
namespace {

int32_t DigitalAt(SignalSource& source, double ms) {
  int32_t out[kProbeInputs] = {};
  source.Read(ms, out);
  return out[0];
}

TEST(SignalSources, GeneratedPatternsFollowTheClock) {
  auto counter = MakeCounter(100);
  EXPECT_EQ(DigitalAt(*counter, 0), 0);
  EXPECT_EQ(DigitalAt(*counter, 250), 2);
  EXPECT_EQ(DigitalAt(*counter, 25600), 0);  // wraps at 256

  auto walk = MakeWalkingBit(10);
  EXPECT_EQ(DigitalAt(*walk, 0), 1);
  EXPECT_EQ(DigitalAt(*walk, 75), 0x80);
  EXPECT_EQ(DigitalAt(*walk, 80), 1);

  auto square = MakeSquareWaves({100, 200});
  EXPECT_EQ(DigitalAt(*square, 10), 0b00);
  EXPECT_EQ(DigitalAt(*square, 60), 0b01);
  EXPECT_EQ(DigitalAt(*square, 160), 0b11);

  auto random = MakeRandomBits(50, 1);
  EXPECT_EQ(DigitalAt(*random, 10), DigitalAt(*random, 40));  // steady within a step
}

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

// Each pin runs a sixth of a period behind the one before: it shows now
// what the pin before it showed a sixth of a period ago.
TEST(SignalSources, EachPinLagsTheOneBeforeBySixthOfAPeriod) {
  for (auto make : {MakeSine, MakeRamp}) {
    auto source = make(600);
    for (double now : {130.0, 1000.0, 2345.0}) {
      int32_t current[kProbeInputs], earlier[kProbeInputs];
      source->Read(now, current);
      source->Read(now - 100, earlier);
      for (int p = 1; p < kProbeInputs; ++p)
        EXPECT_EQ(current[p], earlier[p - 1]) << now << " " << p;
    }
  }
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

TEST(SimulationFile, FaultsInScriptsNameTheScriptLine) {
  tavelin::test::TempFolder folder;
  folder.Write("bad.seq", "1\n\n256\n");
  const auto path = folder.Write("bench.sim", "usbio 0 prepared script bad.seq\n");
  std::ostringstream errors;
  const auto file = ReadSimulationFile(path.string(), DeviceFamily::UsbIo, errors);
  EXPECT_TRUE(file.devices.empty());
  EXPECT_NE(errors.str().find("bad.seq:3: value 256 is outside 0 to 255"), std::string::npos)
      << errors.str();
}

TEST(SimulationFile, AMissingFileIsSaidOnceAndFindsNothing) {
  std::ostringstream usbio, probe;
  EXPECT_TRUE(ReadSimulationFile("/nonexistent/x.sim", DeviceFamily::UsbIo, usbio).devices.empty());
  EXPECT_TRUE(ReadSimulationFile("/nonexistent/x.sim", DeviceFamily::Probe, probe).devices.empty());
  EXPECT_NE(usbio.str().find("/nonexistent/x.sim"), std::string::npos);
  EXPECT_EQ(probe.str(), "");
}

}  // namespace
}  // namespace kvr
