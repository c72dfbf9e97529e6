// tavelin-cli: the sampling engine without windows.
#include <iostream>
#include <string>
#include <vector>

#include "cli/monitor_command.h"
#include "cli/record_command.h"
#include "cli/settings_command.h"
#include "platform/program_folder.h"

namespace {

constexpr const char* kUsage =
    "usage: tavelin-cli monitor [--mode 1-4] [--seconds S] [--analysis]\n"
    "       tavelin-cli record [--mode 1-4] [--seconds S] [--analysis] [--sampling MS]\n"
    "                          [--folder DIR] [--comment TEXT] [--subfolder]\n"
    "                          [--format csv|xls]\n"
    "       tavelin-cli settings [--reset | --view 1-4]\n"
    "\n"
    "  monitor   open the devices and show a sampling run in the terminal;\n"
    "            Ctrl+C disconnects. Modes: 1, 2 bit LEDs, 3 digital values,\n"
    "            4 analog values. --analysis keeps maximum, minimum and\n"
    "            average of every input.\n"
    "  record    a logged sampling run without a window, for S seconds or until\n"
    "            Ctrl+C; writes csv or .xls logs as the settings say (by default\n"
    "            into the program's folder; --folder DIR writes there).\n"
    "  settings  show the settings files beside the program; --reset writes the\n"
    "            defaults over them (the terms of use are then asked again);\n"
    "            --view N changes the display mode the program opens with.\n"
    "\n"
    "Simulated devices: set KVR_SIMULATION to a simulation file\n"
    "(see docs/simulation.md).\n";

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  if (words.empty() || words[0] == "--help" || words[0] == "-h" || words[0] == "help") {
    (words.empty() ? std::cerr : std::cout) << kUsage;
    return words.empty() ? 2 : 0;
  }
  const std::vector<std::string> args(words.begin() + 1, words.end());
  try {
    if (words[0] == "monitor") return tavelin::cli::RunMonitor(args, tavelin::ProgramFolder());
    if (words[0] == "record") return tavelin::cli::RunRecord(args, tavelin::ProgramFolder());
    if (words[0] == "settings") return tavelin::cli::RunSettings(args, tavelin::ProgramFolder());
  } catch (const std::exception& error) {
    std::cerr << "tavelin-cli: " << error.what() << "\n";
    return 1;
  }
  std::cerr << "tavelin-cli: unknown command '" << words[0] << "'\n\n" << kUsage;
  return 2;
}
