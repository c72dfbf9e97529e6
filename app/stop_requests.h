#pragma once
#include <QObject>
#include <QSocketNotifier>

#include "platform/stop_signals.h"

namespace tavelin {

class Form1;

// Stop requests (SIGTERM at a shutdown, SIGHUP, Ctrl+C) reach the program
// through its event loop, never inside the signal handler: there they end
// a run as Disconnect does and close the program as a user's close would.
class StopRequestListener final : public QObject {
 public:
  explicit StopRequestListener(Form1& form1);

 private:
  StopSignals signals_;
  QSocketNotifier notifier_;
};

}  // namespace tavelin
