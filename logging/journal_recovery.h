#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "logging/log_environment.h"

namespace tavelin {

// A journal a run left behind: no running program holds it.
struct LeftoverJournal {
  std::string path;
  bool readable = false;
  int64_t startSeconds = 0;        // the run's start
  int64_t rows = 0;                // rows no log file holds
  std::vector<std::string> files;  // the log files the run wrote before it stopped
  std::string damage;              // what could not be read, or empty
};

// The journals in `folder` that no running program holds, oldest first.
std::vector<LeftoverJournal> LeftoverJournals(const std::string& folder);

struct Recovery {
  std::vector<std::string> files;  // the log files written
  int64_t rows = 0;
  std::string damage;  // what could not be read, or empty
};

// Why rows of a log format no writer has (a config.dat written by hand)
// cannot be written.
std::string UnwritableFormatText(int32_t format);

// Writes a leftover journal's rows that no log file holds as the log files
// its run would have written: the same kinds, layout and writers, named as
// at the time of recovery, where the run's settings say or into `folder`,
// in the run's log format or `format`. Every whole row before a damage is
// recovered; the damage is reported. Each file is noted in the journal as
// the run notes its files, so a recovery cut off (a kill, a full disk)
// goes on where it stopped when run again, whatever folder it is given.
// The journal then goes; one that cannot be read at all is kept aside as
// *.unreadable. A log that cannot be written, or a log format no writer
// has, throws FileError, and the rows stay in the journal. Only a file of
// the program's own naming in the run's log folder or in `folder` is ever
// removed.
Recovery RecoverJournal(const std::string& path, LogEnvironment environment,
                        const std::optional<std::string>& folder,
                        std::optional<int32_t> format = std::nullopt);

}  // namespace tavelin
