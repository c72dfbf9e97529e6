#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace tavelin::cli {

// The options of a console run, over the stored settings.
struct RunOptions {
  int mode = 1;                   // display mode 1 to 4
  std::optional<double> seconds;  // run length; none: until Ctrl+C
  bool analysis = false;          // keep maximum, minimum and average of every input
  // Log settings of a recording.
  std::optional<int32_t> samplingMs;
  std::optional<std::string> folder;
  std::optional<std::string> comment;
  bool subFolder = false;
  std::optional<int32_t> format;  // 1 .xls, 2 .csv
};

}  // namespace tavelin::cli
