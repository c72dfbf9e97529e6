#pragma once
#include <string_view>

#include "logging/journal_format.h"

namespace tavelin {

// A taker of the run's logged rows beside its log and journal (the
// publisher): the same rows, packed once by the log step. Each call comes
// from the sampling thread and must return at once: no disk, no network.
class RowConsumer {
 public:
  virtual ~RowConsumer() = default;
  // A logged run starts; `head` says what its rows hold.
  virtual void RunStarted(const JournalHead& head, double samplingMs) = 0;
  // A row as the log takes it: ms since the run's start, packed values.
  virtual void RowLogged(double timeMs, std::string_view values) = 0;
  virtual void RunEnded() = 0;
};

}  // namespace tavelin
