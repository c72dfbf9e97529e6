#pragma once
#include <optional>
#include <string>
#include <vector>

namespace tavelin::cli {

struct RunOptions {
  int mode = 1;                   // display mode 1 to 4
  std::optional<double> seconds;  // run length; none: until Ctrl+C
  bool analysis = false;          // keep maximum, minimum and average of every input
};

// Reads --mode N, --seconds S and --analysis; a bad argument gives a message in `error`.
std::optional<RunOptions> ParseRunOptions(const std::vector<std::string>& args, std::string& error);

}  // namespace tavelin::cli
