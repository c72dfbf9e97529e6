#include "sampling/polled_event_loop.h"

#include <algorithm>

namespace tavelin {

PolledTimer::PolledTimer(PolledEventLoop& loop, double intervalMs)
    : loop_(loop), intervalMs_(intervalMs) {
  loop_.timers_.push_back(this);
}

PolledTimer::~PolledTimer() {
  std::erase(loop_.timers_, this);
}

void PolledTimer::SetEnabled(bool enabled) {
  if (enabled && !enabled_) dueMs_ = loop_.Now() + intervalMs_;
  enabled_ = enabled;
}

void PolledTimer::FireIfDue(double now) {
  if (!enabled_ || now < dueMs_) return;
  dueMs_ = now + intervalMs_;
  if (handler_) handler_();
}

void PolledEventLoop::DoEvents() {
  const double now = clockMs_();
  for (PolledTimer* timer : timers_) timer->FireIfDue(now);
  for (auto& handler : idle_) handler();
}

}  // namespace tavelin
