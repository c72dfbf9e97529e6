#pragma once
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/file_system.h"
#include "platform/local_time.h"

namespace tavelin {

// A log file as it was written.
struct WrittenLog {
  std::string path;
  bool overwrote = false;  // the name search stopped at its limit and wrote over a file
  int64_t rowsInFile = 0;
  // Rows of the buffer that a csv file written at a rollover leaves out: it
  // holds its header alone.
  int64_t rowsDiscarded = 0;
};

// A log file's name as it is taken, before its write: the rows of the
// buffer the file will take (hold, or leave out at a csv rollover), and
// the file the name was taken with.
struct TakenLog {
  std::string path;
  int64_t rows = 0;
  std::optional<FileIdentity> placeholder;
};

// What the log writer takes from around it: the local time of a write, one
// pass of the message pump, the two folders a log may go to, and whom to
// tell of each file written.
struct LogEnvironment {
  std::function<LocalTime()> now;
  std::function<void()> yield;
  std::string programFolder;
  std::string desktopFolder;
  std::function<void(const WrittenLog&)> logWritten = nullptr;
  // Told of a log file's name as it is taken, before its write.
  std::function<void(const TakenLog&)> nameTaken = nullptr;
  // Where a logged run keeps its journal; none when empty.
  std::string journalFolder = {};
};

// The clock and the folders of the machine, journals in
// $XDG_STATE_HOME/tavelin/journal. It brings no yield: the sampling engine
// gives the log its own message pump.
LogEnvironment SystemLogEnvironment(const std::string& programFolder);

// One pass of the environment's message pump, where it has one.
void Yield(const LogEnvironment& environment);

}  // namespace tavelin
