#pragma once
#include <string>

#include "cli/run_options.h"

namespace tavelin::cli {

// tavelin-cli record: a logged sampling run without a window, until the
// given time is up or Ctrl+C; the last file is written as at Disconnect.
// With a broker given, every logged row is published too.
int RunRecord(const RunOptions& options, const std::string& programFolder,
              const PublishOptions& publish = {});

}  // namespace tavelin::cli
