#include "sampling/polled_event_loop.h"

#include <gtest/gtest.h>

namespace tavelin {
namespace {

// A timer fires once its interval has passed and runs on; disabled, also
// by its own handler, it stays quiet.
TEST(PolledEventLoop, ATimerFiresOnceItsIntervalHasPassedUntilItIsDisabled) {
  for (const bool disablesItself : {false, true}) {
    double now = 0.0;
    PolledEventLoop loop([&] { return now; });
    PolledTimer timer(loop, 30);
    int fired = 0;
    timer.OnTimer([&] {
      ++fired;
      if (disablesItself) timer.SetEnabled(false);
    });
    timer.SetEnabled(true);
    for (; now < 100.0; now += 1.0) loop.DoEvents();
    EXPECT_EQ(fired, disablesItself ? 1 : 3);  // at 30, 60 and 90
    timer.SetEnabled(false);
    for (; now < 200.0; now += 1.0) loop.DoEvents();
    EXPECT_EQ(fired, disablesItself ? 1 : 3);
    EXPECT_FALSE(timer.Enabled());
  }
}

}  // namespace
}  // namespace tavelin
