#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "logging/journal_format.h"

namespace tavelin {

// The JSON a run publishes (docs/publishing.md has the schema). Each
// message is one line: no raw line break or tab ever appears in it.

// "2026-11-25T19:13:09.123+09:00": local time with its offset from UTC.
std::string IsoTime(int64_t unixMs);

// A run's identity: its start, to the millisecond, as "20261125-191309-123".
std::string RunId(int64_t startUnixMs);

struct RunFacts {
  std::string runId;
  int64_t startUnixMs = 0;
  double samplingMs = 0.0;
  const JournalHead* head = nullptr;
};

// One logged row: `seq` counts the run's rows from 1; `values` is the row
// packed as the journal packs it.
std::string RowMessage(const RunFacts& run, int64_t seq, double elapsedMs, std::string_view values);

// The retained message of a run: "running" at its start; "ended" with its
// rows and end time at its end.
std::string RunStartMessage(const RunFacts& run);
std::string RunEndMessage(const RunFacts& run, int64_t rows, int64_t endUnixMs);

}  // namespace tavelin
