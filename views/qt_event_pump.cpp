#include "views/qt_event_pump.h"

#include <QCoreApplication>

namespace tavelin {

void QtMessagePump::DoEvents() {
  QCoreApplication::processEvents();
}

QtSamplingTimer::QtSamplingTimer(std::function<void()> onTimer) {
  timer_.setInterval(kSamplingTimerIntervalMs);
  timer_.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer_, &QTimer::timeout, std::move(onTimer));
}

void QtSamplingTimer::SetEnabled(bool enabled) {
  if (enabled == timer_.isActive()) return;
  if (enabled) {
    timer_.start();
  } else {
    timer_.stop();
  }
}

}  // namespace tavelin
