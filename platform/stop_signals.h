#pragma once

namespace tavelin {

// The stop requests of a session: Ctrl+C (SIGINT), a shutdown (SIGTERM) and
// a closed terminal or dropped ssh (SIGHUP). While this lives each is noted
// instead of ending the process, so that the program ends its run as
// Disconnect does; the previous handlers come back when it goes. One lives
// at a time.
class StopSignals {
 public:
  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  // True once a request has come.
  bool Requested() const;
  // Becomes readable at each request, for an event loop to watch.
  int ReadableFd() const;
  // The signal of the newest request not yet taken, else 0. Empties what
  // ReadableFd holds.
  int Take();
};

}  // namespace tavelin
