// Whole sampling runs on simulated devices, with a clock the test moves.
#include "sampling/FormBG.h"

#include <gtest/gtest.h>

#include <map>

#include "platform/number_text.h"
#include "support/sampling_run.h"

namespace tavelin {
namespace {

using test::BuiltLibraries;
using test::g_now;
using test::SamplingRun;
using test::Simulation;

TEST_F(SamplingRun, DisconnectDrainsAndEndsTheLoopAndTheTimerStopsAtItsNextEvent) {
  Simulation simulation("usbio 0 prepared constant 0b00000101\n");
  std::vector<RunState> seen;
  view.onStatus = [&] { seen.push_back(engine_.State()); };
  onPass = [&] {
    if (passes == 1 || passes == disconnectAfter) seen.push_back(engine_.State());
    if (passes == disconnectAfter) {
      view.RxFlag = 0;  // Disconnect, seen before the loop ends
      seen.push_back(engine_.State());
    }
  };
  disconnectAfter = 100;
  EXPECT_EQ(engine_.State(), RunState::Idle);
  Run(1);
  EXPECT_EQ(passes, 100);
  EXPECT_EQ(seen, (std::vector<RunState>{RunState::Starting, RunState::Running, RunState::Running,
                                         RunState::Draining}));
  EXPECT_EQ(engine_.State(), RunState::Settling);
  PumpFor(kSamplingTimerIntervalMs);
  EXPECT_EQ(engine_.State(), RunState::Idle);

  EXPECT_EQ(view.status, "通信中");
  EXPECT_EQ(view.leds.size(), 8u);  // only the channel with a module
  EXPECT_EQ(view.leds[0], 0x00FF00);
  EXPECT_EQ(view.leds[1], kUnlitLedColour);
  EXPECT_EQ(view.leds[2], 0x00FF00);
  EXPECT_TRUE(view.values.empty());  // LED modes convert nothing
  EXPECT_EQ(usbIo.USBIO_Value(0), 0.0);
}

TEST_F(SamplingRun, TheValueViewKeepsMaximumMinimumAndAverage) {
  // Reversed, a field's number is the module's input itself.
  Simulation simulation("usbio 3 prepared script values.seq\nusbio 4 prepared constant 9\n");
  simulation.Script("values.seq", {"0", "0", "5", "3"});
  device.usbio_bit_reverse(3) = 1;
  device.usbio_analysis(3) = 1;
  passMs = kSamplingTimerIntervalMs;  // one new read per tick
  disconnectAfter = 4;
  Run(3);
  EXPECT_EQ(view.values[3], "3");
  EXPECT_EQ(view.maxima[3], "5");
  EXPECT_EQ(view.minima[3], "3");
  EXPECT_EQ(view.averages[3], "4");
  EXPECT_EQ(usbIo.USBIO_ValueAVG_count(3), 1);
  // Channel 4 is not analysed: its value moves, its analysis labels never do.
  EXPECT_EQ(view.values[4], NumberText(0b10010000));
  EXPECT_EQ(view.maxima.count(4), 0u);
  EXPECT_EQ(usbIo.USBIO_ValueMAX(4), 0.0);
}

TEST_F(SamplingRun, ProbePinsShareOneCountPerProbe) {
  Simulation simulation("probe 0 script pins.seq\nprobe 1 constant 7\n");
  simulation.Script("pins.seq", {"10 20 0 0 0 0", "12 18 0 0 0 0"});
  usbProbe.Param_ALL_Clear();
  usbProbe.AN_pin_analysis(0) = 1;
  usbProbe.AN_pin_analysis(1) = 1;
  passMs = kSamplingTimerIntervalMs;
  disconnectAfter = 3;
  Run(4);
  // Tick 1 sees 12 and 18 as first values, tick 2 sees 10 and 20.
  EXPECT_EQ(usbProbe.USBProbe_ValueAVG_count(0), 2);
  EXPECT_EQ(view.minima[0], "10");
  EXPECT_EQ(view.averages[0], "11");  // (12 * 1 + 10) / 2
  EXPECT_EQ(view.maxima[1], "20");
  EXPECT_EQ(view.averages[1], "18.6666666666667");  // (18 * 2 + 20) / 3
  EXPECT_EQ(view.values[6], "7");
  EXPECT_EQ(usbProbe.USBProbe_ValueAVG_count(1), 0);
  EXPECT_TRUE(view.leds.empty());
}

TEST_F(SamplingRun, AModeOutsideOneToFourRunsNothing) {
  Simulation simulation("usbio 0 prepared constant 1\n");
  Run(5);
  EXPECT_EQ(passes, 0);
  EXPECT_EQ(engine_.State(), RunState::Starting);  // RxFlag is still 1
  view.RxFlag = 0;
  EXPECT_EQ(engine_.State(), RunState::Idle);
}

TEST(RunStatusText, NamesTheLogFormatWhenLogging) {
  struct Case {
    int32_t enable, format;
    const char* text;
  } cases[] = {{1, 1, "通信中　ログ出力(Excel)"},
               {1, 2, "通信中　ログ出力(csv)"},
               {0, 1, "通信中"},
               {1, 3, "通信中"}};
  for (const Case& c : cases) {
    ELM327_Info device;
    device.t_LogSave_Enable = c.enable;
    device.t_LogSaveFormat = c.format;
    EXPECT_EQ(RunStatusText(device), c.text);
  }
}

TEST(UpdateAnalysis, FollowsTheFirstValueRule) {
  struct Case {
    std::vector<double> series;
    double maximum, minimum, average;
    int32_t count;
  } cases[] = {
      {{0, 0, 5, 3}, 5, 3, 4, 1},  // zeros keep the input fresh
      {{2, 2, 2}, 2, 2, 2, 2},     // equal values count, limits stay
      {{-3, 0}, 0, -3, -1.5, 1},   // a negative start is a real minimum
      {{-3, 0, 4}, 4, -3, 1.0 / 3.0, 2}, {{5, 7, 1}, 7, 1, 13.0 / 3.0, 2},
      {{3, -3, 3}, 3, -3, 1, 2},
  };
  const auto average = BuiltLibraries().kvr100.api.kr_Average;
  for (const Case& c : cases) {
    double maximum = 0, minimum = 0, mean = 0;
    int32_t count = 0;
    for (double v : c.series) UpdateAnalysis(v, maximum, minimum, mean, count, average);
    EXPECT_EQ(maximum, c.maximum);
    EXPECT_EQ(minimum, c.minimum);
    EXPECT_DOUBLE_EQ(mean, c.average);
    EXPECT_EQ(count, c.count);
  }
}

}  // namespace
}  // namespace tavelin
