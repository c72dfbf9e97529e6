// tavelin-cli: the sampling engine without windows.
#include <iostream>
#include <string>
#include <vector>

#include "cli/command_line.h"
#include "cli/devices_command.h"
#include "cli/monitor_command.h"
#include "cli/publish_command.h"
#include "cli/record_command.h"
#include "cli/recover_command.h"
#include "cli/settings_command.h"
#include "platform/program_folder.h"

int main(int argc, char** argv) {
  using namespace tavelin::cli;
  const CommandLine line = ParseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
  if (line.exitStatus) {
    (*line.exitStatus == 0 ? std::cout : std::cerr) << line.output;
    return *line.exitStatus;
  }
  const std::string folder = tavelin::ProgramFolder();
  try {
    if (line.command == "monitor") return RunMonitor(line.run, folder);
    if (line.command == "record") return RunRecord(line.run, folder, line.publish);
    if (line.command == "publish") return RunPublish(line.publish);
    if (line.command == "recover") return RunRecover(line.recover, folder);
    if (line.command == "devices") return RunDevices(folder, line.checkDevices);
    return RunSettings(line.settings, folder);
  } catch (const std::exception& error) {
    std::cerr << "tavelin-cli: " << error.what() << "\n";
    return 1;
  }
}
