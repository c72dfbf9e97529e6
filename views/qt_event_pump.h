#pragma once
#include <QObject>
#include <QTimer>
#include <functional>

#include "sampling/event_pump.h"

namespace tavelin {

// The window system's message pump, run once.
class QtMessagePump final : public MessagePump {
 public:
  void DoEvents() override;
};

// A 30 ms repaint timer on the Qt event loop.
class QtSamplingTimer final : public SamplingTimer {
 public:
  explicit QtSamplingTimer(std::function<void()> onTimer);
  void SetEnabled(bool enabled) override;
  bool Enabled() const override { return timer_.isActive(); }

 private:
  QTimer timer_;
};

}  // namespace tavelin
