#pragma once
#include <functional>
#include <vector>

#include "sampling/event_pump.h"

namespace tavelin {

class PolledEventLoop;

// A timer that fires from PolledEventLoop::DoEvents once its interval has
// passed on the loop's clock.
class PolledTimer final : public SamplingTimer {
 public:
  PolledTimer(PolledEventLoop& loop, double intervalMs);
  ~PolledTimer() override;
  PolledTimer(const PolledTimer&) = delete;
  PolledTimer& operator=(const PolledTimer&) = delete;

  void OnTimer(std::function<void()> handler) { handler_ = std::move(handler); }
  void SetEnabled(bool enabled) override;
  bool Enabled() const override { return enabled_; }

 private:
  friend class PolledEventLoop;
  void FireIfDue(double now);

  PolledEventLoop& loop_;
  double intervalMs_;
  double dueMs_ = 0.0;
  bool enabled_ = false;
  std::function<void()> handler_;
};

// The message pump of a program without windows: each DoEvents runs the
// timers that are due, then the idle handlers (input, redraw).
class PolledEventLoop final : public MessagePump {
 public:
  explicit PolledEventLoop(std::function<double()> clockMs) : clockMs_(std::move(clockMs)) {}

  void DoEvents() override;
  void OnIdle(std::function<void()> handler) { idle_.push_back(std::move(handler)); }
  double Now() const { return clockMs_(); }

 private:
  friend class PolledTimer;
  std::function<double()> clockMs_;
  std::vector<PolledTimer*> timers_;
  std::vector<std::function<void()>> idle_;
};

}  // namespace tavelin
