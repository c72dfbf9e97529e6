#pragma once

namespace tavelin {

// Runs the pending window messages once: the one yield of a sampling pass.
class MessagePump {
 public:
  virtual ~MessagePump() = default;
  virtual void DoEvents() = 0;
};

// A 30 ms repaint timer. Enabling starts a new interval.
class SamplingTimer {
 public:
  virtual ~SamplingTimer() = default;
  virtual void SetEnabled(bool enabled) = 0;
  virtual bool Enabled() const = 0;
};

inline constexpr int kSamplingTimerIntervalMs = 30;

}  // namespace tavelin
