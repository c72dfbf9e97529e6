#pragma once
#include <functional>
#include <string>

#include "platform/local_time.h"

namespace tavelin {

// What the log writer takes from around it: the local time of a write, one
// pass of the message pump, and the two folders a log may go to.
struct LogEnvironment {
  std::function<LocalTime()> now;
  std::function<void()> yield;
  std::string programFolder;
  std::string desktopFolder;
};

// The clock and the folders of the machine. It brings no yield: the
// sampling engine gives the log its own message pump.
LogEnvironment SystemLogEnvironment(const std::string& programFolder);

// One pass of the environment's message pump, where it has one.
void Yield(const LogEnvironment& environment);

}  // namespace tavelin
