#pragma once
#include <string>

#include "cli/run_options.h"

namespace tavelin::cli {

// tavelin-cli monitor: a sampling run shown in the terminal until Ctrl+C.
// It never logs, whatever the stored settings say.
int RunMonitor(const RunOptions& options, const std::string& programFolder);

}  // namespace tavelin::cli
