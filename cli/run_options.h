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

// Where the rows go besides the log: over publish.conf, as given.
struct PublishOptions {
  std::optional<std::string> url;  // --publish mqtt://[USER@]HOST[:PORT]/PREFIX
  std::optional<std::string> bench;
  std::optional<std::string> caFile;
  std::optional<std::string> passwordFile;
  std::optional<int> mqttVersion;  // 4 or 5
  bool drain = false;              // publish --drain
  double waitSeconds = 60.0;       // publish --drain: how long at most
};

}  // namespace tavelin::cli
