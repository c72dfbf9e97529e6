#pragma once
#include <optional>
#include <string>
#include <vector>

#include "cli/recover_command.h"
#include "cli/run_options.h"

namespace tavelin::cli {

struct SettingsOptions {
  bool reset = false;
  std::optional<int> view;  // 1 to 4
};

// The command line, read once: what to run and with which options. Text
// that goes into settings or logs is valid UTF-8 by the time it is here.
struct CommandLine {
  std::string command;  // monitor, record, settings, recover, devices, publish
  RunOptions run;
  SettingsOptions settings;
  RecoverOptions recover;
  bool checkDevices = false;  // devices --check
  PublishOptions publish;     // record --publish, publish --drain
  // Set when reading the line ended the program: 0 after --help, 2 after a
  // mistake; `output` is then what to print (stdout for 0, stderr for 2).
  std::optional<int> exitStatus;
  std::string output;
};

CommandLine ParseCommandLine(const std::vector<std::string>& words);

}  // namespace tavelin::cli
