// The console commands as main calls them, each on a program folder of its own.
#include <gtest/gtest.h>

#include <filesystem>

#include "cli/console_run.h"
#include "cli/monitor_command.h"
#include "cli/record_command.h"
#include "cli/settings_command.h"
#include "logging/journal_recovery.h"
#include "platform/special_folders.h"
#include "settings/FileSaveSystem.h"
#include "support/program_folder.h"
#include "support/scoped_environment.h"

namespace tavelin::cli {
namespace {

namespace fs = std::filesystem;
using test::ProgramFolder;
using test::Simulation;
using test::TempFolder;

std::vector<std::string> LogsIn(const fs::path& folder) {
  std::vector<std::string> logs;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().filename().string().rfind("SD", 0) == 0) logs.push_back(entry.path());
  }
  return logs;
}

void StoreSettings(const ProgramFolder& program, const std::function<void(ELM327_Info&)>& change) {
  ELM327_Info device;
  device.t_TERMS_OF_USE = 1;
  change(device);
  ASSERT_EQ(FileSaveSystem::Write_Config(device, program.Path()), FileSaveSystem::kWritten);
}

TEST(ConsoleCommands, MonitorShowsAndNeverLogs) {
  ProgramFolder program;
  StoreSettings(program, [](ELM327_Info& device) {
    device.t_LogSave_Enable = 1;
    device.t_LogSaveFormat = 2;
    device.t_LogSampling = 1;
  });
  Simulation simulation("usbio 0 prepared constant 1\n");
  RunOptions options;
  options.seconds = 0.2;
  testing::internal::CaptureStdout();
  EXPECT_EQ(RunMonitor(options, program.Path()), 0);
  EXPECT_NE(testing::internal::GetCapturedStdout().find("表示モード 1"), std::string::npos);
  EXPECT_EQ(LogsIn(program.Path()), std::vector<std::string>());
}

// A config.dat whose log format has no writer: the rows stay in the
// journal, said before and after, and the status is not 0.
TEST(ConsoleCommands, RecordKeepsRowsOfAFormatWithoutAWriterInTheJournal) {
  ProgramFolder program;
  TempFolder logs, state;
  StoreSettings(program, [](ELM327_Info& device) { device.t_LogSaveFormat = 3; });
  Simulation simulation("usbio 0 prepared constant 1\n");
  const test::ScopedEnvironment stateHome("XDG_STATE_HOME", state.Path().string());
  RunOptions options;
  options.seconds = 0.2;
  options.samplingMs = 10;
  options.folder = logs.Path().string();
  testing::internal::CaptureStderr();
  const int status = RunRecord(options, program.Path());
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(status, 1) << said;
  EXPECT_NE(said.find("ログの保存形式 3 は書き出せません"), std::string::npos) << said;
  EXPECT_NE(said.find("recover --format"), std::string::npos) << said;
  EXPECT_EQ(LogsIn(logs.Path()), std::vector<std::string>());
  const auto journals = LeftoverJournals(JournalFolder());
  ASSERT_EQ(journals.size(), 1u);
  EXPECT_GT(journals[0].rows, 5);
}

// Nothing to sample in the mode asked: said, with the way to connect a
// device, and a status of its own; nothing is logged.
TEST(ConsoleCommands, WithoutADeviceMonitorAndRecordSaySoAndEnd) {
  ProgramFolder program;
  TempFolder logs;
  Simulation simulation("probe 0 sine\n");  // probes only
  RunOptions options;
  options.seconds = 0.1;
  options.folder = logs.Path().string();
  testing::internal::CaptureStderr();
  EXPECT_EQ(RunMonitor(options, program.Path()), kNoDeviceStatus);
  EXPECT_EQ(RunRecord(options, program.Path()), kNoDeviceStatus);
  options.mode = 4;
  EXPECT_EQ(RunMonitor(options, program.Path()), 0);
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_NE(said.find("準備済みの USB-IO が見つかりません"), std::string::npos) << said;
  EXPECT_NE(said.find("README の「実機をつなぐ」"), std::string::npos) << said;
  EXPECT_EQ(LogsIn(logs.Path()), std::vector<std::string>());
}

TEST(ConsoleCommands, RecordRefusesAnEmptyCommentForASubFolder) {
  ProgramFolder program;
  TempFolder logs;
  Simulation simulation("usbio 0 prepared constant 1\n");
  RunOptions options;
  options.seconds = 0.1;
  options.folder = logs.Path().string();
  options.comment = "   ";
  options.subFolder = true;
  testing::internal::CaptureStderr();
  EXPECT_EQ(RunRecord(options, program.Path()), 2);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("コメントを記入して下さい。"),
            std::string::npos);
  EXPECT_TRUE(fs::is_empty(logs.Path()));
}

// Showing the settings changes nothing, not even a file of another version.
TEST(ConsoleCommands, SettingsShowsAFileOfAnotherVersionAndKeepsIt) {
  ProgramFolder program;
  StoreSettings(program, [](ELM327_Info& device) { device.install_version = 110; });
  testing::internal::CaptureStdout();
  EXPECT_EQ(RunSettings({}, program.Path()), 0);
  const std::string shown = testing::internal::GetCapturedStdout();
  EXPECT_NE(shown.find("config.dat: 別のバージョンのファイルです"), std::string::npos) << shown;
  EXPECT_TRUE(fs::exists(fs::path(program.Path()) / FileSaveSystem::kConfigFile));
}

}  // namespace
}  // namespace tavelin::cli
