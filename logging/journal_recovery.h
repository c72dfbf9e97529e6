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

// Writes a leftover journal's rows as the log files its run would have
// written: the same kinds, layout and writers, named as at the time of
// recovery, where the run's settings say or into `folder`. Every whole row
// before a damage is recovered; the damage is reported. The journal then
// goes; one that cannot be read at all is kept aside as *.unreadable. A log
// that cannot be written throws FileError, and the journal stays.
Recovery RecoverJournal(const std::string& path, LogEnvironment environment,
                        const std::optional<std::string>& folder);

}  // namespace tavelin
