#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace tavelin::cli {

struct RecoverOptions {
  std::optional<std::string> folder;  // write the logs here instead
  bool list = false;                  // only say what is there
  std::optional<int32_t> format;      // 1 xls, 2 csv, over the run's own
};

// tavelin-cli recover: the logs of runs that did not end, written from
// their journals.
int RunRecover(const RecoverOptions& options, const std::string& programFolder);

// A line for stderr when runs left journals behind, or empty.
std::string LeftoverNotice();

}  // namespace tavelin::cli
