#pragma once
#include <string>

#include "cli/run_options.h"

namespace tavelin::cli {

// tavelin-cli record: a logged sampling run without a window, until the
// given time is up or Ctrl+C; the last file is written as at Disconnect.
int RunRecord(const RunOptions& options, const std::string& programFolder);

}  // namespace tavelin::cli
