#include "sampling/polled_event_loop.h"

#include <gtest/gtest.h>

namespace tavelin {
namespace {

TEST(PolledEventLoop, ATimerFiresOnceItsIntervalHasPassedAndRunsOn) {
  double now = 0.0;
  PolledEventLoop loop([&] { return now; });
  PolledTimer timer(loop, 30);
  int fired = 0;
  timer.OnTimer([&] { ++fired; });
  timer.SetEnabled(true);
  for (; now < 100.0; now += 1.0) loop.DoEvents();
  EXPECT_EQ(fired, 3);  // at 30, 60 and 90
  timer.SetEnabled(false);
  for (; now < 200.0; now += 1.0) loop.DoEvents();
  EXPECT_EQ(fired, 3);
}

TEST(PolledEventLoop, ATimerThatDisablesItselfStaysQuiet) {
  double now = 0.0;
  PolledEventLoop loop([&] { return now; });
  PolledTimer timer(loop, 30);
  int fired = 0;
  timer.OnTimer([&] {
    ++fired;
    timer.SetEnabled(false);
  });
  timer.SetEnabled(true);
  for (; now < 200.0; now += 1.0) loop.DoEvents();
  EXPECT_EQ(fired, 1);
  EXPECT_FALSE(timer.Enabled());
}

}  // namespace
}  // namespace tavelin
