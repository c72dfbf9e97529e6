#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "platform/utf8.h"

namespace tavelin::cli {
namespace {

constexpr const char* kDescription =
    "タヴェリン: the sampling engine without windows.\n"
    "Simulated devices: set KVR_SIMULATION to a simulation file (docs/simulation.md).";

// Comments and folders go into settings files and logs: they must be text.
const CLI::Validator kUtf8Text(
    [](std::string& value) {
      return IsValidUtf8(value)
                 ? std::string()
                 : std::string("is not UTF-8 text; set the terminal's encoding to UTF-8");
    },
    "");

void AddFormatOption(CLI::App& command, std::optional<int32_t>& format, const char* help) {
  command
      .add_option_function<std::string>(
          "--format", [&format](const std::string& name) { format = name == "xls" ? 1 : 2; }, help)
      ->check(CLI::IsMember({"csv", "xls"}))
      ->type_name("csv|xls");
}

void AddRunOptions(CLI::App& command, RunOptions& run) {
  command.add_option("--mode", run.mode, "display mode: 1, 2 bit LEDs, 3 digital values, 4 analog")
      ->check(CLI::Range(1, 4))
      ->default_val(1);
  command.add_option("--seconds", run.seconds, "run for S seconds (default: until Ctrl+C)")
      ->check(CLI::PositiveNumber)
      ->type_name("S");
  command.add_flag("--analysis", run.analysis, "keep maximum, minimum and average of every input");
}

void AddLogOptions(CLI::App& command, RunOptions& run) {
  command.add_option("--sampling", run.samplingMs, "log a row every MS milliseconds")
      ->check(CLI::Range(1, 3600000))
      ->type_name("MS");
  command.add_option("--folder", run.folder, "write the logs into DIR (it must exist)")
      ->check(kUtf8Text)
      ->type_name("DIR");
  command
      .add_option("--comment", run.comment,
                  "the log's comment, cut to 50 characters as Connect cuts it")
      ->check(kUtf8Text)
      ->type_name("TEXT");
  command.add_flag("--subfolder", run.subFolder, "one folder per run, named after the comment");
  AddFormatOption(command, run.format, "csv, or xls workbooks");
}

}  // namespace

CommandLine ParseCommandLine(const std::vector<std::string>& words) {
  CommandLine line;
  CLI::App app(kDescription, "tavelin-cli");
  app.require_subcommand(1);
  app.fallthrough(false);
  app.set_version_flag("--version", std::string("tavelin-cli ") + TAVELIN_VERSION);

  CLI::App* monitor = app.add_subcommand(
      "monitor", "open the devices and show a sampling run in the terminal; Ctrl+C disconnects");
  AddRunOptions(*monitor, line.run);

  CLI::App* record = app.add_subcommand(
      "record",
      "a logged sampling run without a window, for S seconds or until Ctrl+C; writes csv or .xls "
      "logs where the settings say, or into --folder");
  AddRunOptions(*record, line.run);
  AddLogOptions(*record, line.run);

  CLI::App* settings = app.add_subcommand(
      "settings", "show the settings files, or change the display mode, or reset them");
  CLI::Option* reset = settings->add_flag(
      "--reset", line.settings.reset,
      "write the defaults over the settings files (the terms of use are asked again)");
  settings->add_option("--view", line.settings.view, "the display mode the program opens with")
      ->check(CLI::Range(1, 4))
      ->excludes(reset);

  CLI::App* recover = app.add_subcommand(
      "recover",
      "write the logs of runs that did not end (a crash, a kill, a power cut) from their "
      "journals, where their settings say or into --folder");
  recover->add_option("--folder", line.recover.folder, "write the logs into DIR (it must exist)")
      ->check(kUtf8Text)
      ->type_name("DIR");
  recover->add_flag("--list", line.recover.list, "only list the journals left behind");
  AddFormatOption(*recover, line.recover.format,
                  "write csv or xls whatever the run's settings said (for rows of a log format "
                  "that has no writer)");

  CLI::App* devices = app.add_subcommand(
      "devices",
      "list the USB-IO modules and probes the device libraries find: backend, channel, kind, "
      "prepared or not, and where");

  const auto known = [&](const std::string& name) {
    for (const CLI::App* command : app.get_subcommands({})) {
      if (command->get_name() == name) return true;
    }
    return false;
  };
  if (!words.empty() && !words[0].empty() && words[0][0] != '-' && !known(words[0])) {
    line.exitStatus = 2;
    line.output = "tavelin-cli: unknown command '" + words[0] + "'\n\n" + app.help();
    return line;
  }
  std::vector<std::string> reversed(words.rbegin(), words.rend());
  std::ostringstream out, err;
  try {
    app.parse(reversed);
  } catch (const CLI::ParseError& error) {
    const int status = app.exit(error, out, err);
    line.exitStatus = status == 0 ? 0 : 2;
    line.output = status == 0 ? out.str() : err.str();
    return line;
  }
  for (CLI::App* command : {monitor, record, settings, recover, devices}) {
    if (command->parsed()) line.command = command->get_name();
  }
  return line;
}

}  // namespace tavelin::cli
