#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavelin::cli {

struct RunOptions {
  int mode = 1;                   // display mode 1 to 4
  std::optional<double> seconds;  // run length; none: until Ctrl+C
  bool analysis = false;          // keep maximum, minimum and average of every input
  // Log settings of a recording, over the stored ones.
  std::optional<int32_t> samplingMs;
  std::optional<std::string> folder;
  std::optional<std::string> comment;
  bool subFolder = false;
  std::optional<int32_t> format;  // 1 .xls, 2 .csv
};

// Reads --mode N, --seconds S and --analysis, and with `recording` also
// --sampling MS, --folder DIR, --comment TEXT, --format csv|xls and --subfolder. A bad
// argument gives a message in `error`.
std::optional<RunOptions> ParseRunOptions(const std::vector<std::string>& args, bool recording,
                                          std::string& error);

}  // namespace tavelin::cli
