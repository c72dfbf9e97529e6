// Logs read back as traces: every layout the program writes, in both
// formats, compared with what the devices said; a run of numbered files
// as one; a file cut short or not ours.
#include "trend/log_table.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "cli/record_command.h"
#include "logging/journal_format.h"
#include "support/one_channel_log.h"
#include "support/program_folder.h"
#include "support/simulation.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

std::string OnlyLogIn(const fs::path& folder) {
  std::vector<std::string> logs;
  for (const auto& entry : fs::directory_iterator(folder)) logs.push_back(entry.path().string());
  return logs.size() == 1 ? logs[0] : "";
}

// The column of `label`; fails the test when there is none.
const std::vector<float>& Column(const LogTable& table, const std::string& label) {
  const auto at = std::find(table.labels.begin(), table.labels.end(), label);
  if (at == table.labels.end()) throw std::runtime_error("no column " + label);
  return table.columns[static_cast<std::size_t>(at - table.labels.begin())];
}

TEST(LogTable, EveryLayoutInBothFormatsReadsBackAsTheDevicesSaidIt) {
  test::ProgramFolder program;
  test::Simulation bench(
      "usbio 0 prepared constant 165\n"
      "usbio 3 prepared constant 2\n"
      "probe 1 constant 10 20 30 40 50 4095\n");
  struct Case {
    int mode, format;
    std::string label;
    float value;
  };
  const Case cases[] = {
      {1, 1, "0Ch b0", 1},    {1, 2, "ch0 b1", 0},       {2, 2, "ch3 b1", 1},
      {3, 1, "3Ch ch3", 64},  // 2, its bits reversed by the default settings
      {3, 2, "0Ch ch0", 165}, {4, 1, "1ch 入力6", 4095}, {4, 2, "1ch Ch1-2", 20},
  };
  for (const Case& c : cases) {
    test::TempFolder logs;
    cli::RunOptions options;
    options.mode = c.mode;
    options.format = c.format;
    options.seconds = 0.3;
    options.samplingMs = 50;
    options.folder = logs.Path().string();
    testing::internal::CaptureStderr();
    ASSERT_EQ(cli::RunRecord(options, program.Path()), 0) << testing::internal::GetCapturedStderr();
    testing::internal::GetCapturedStderr();
    const LogTable table = ReadLogFile(OnlyLogIn(logs.Path()));
    SCOPED_TRACE("mode " + std::to_string(c.mode) + " format " + std::to_string(c.format));
    EXPECT_EQ(table.problem, "");
    ASSERT_GE(table.times.size(), 4u);
    EXPECT_LT(table.times.front(), 50.0);
    EXPECT_TRUE(std::is_sorted(table.times.begin(), table.times.end()));
    for (const float value : Column(table, c.label)) ASSERT_EQ(value, c.value) << c.label;
  }
}

using test::WriteOneChannelLog;

TEST(LogTable, TheNumberedFilesOfARunReadAsOneAndAnotherRunIsLeftOut) {
  test::TempFolder folder;
  WriteOneChannelLog(folder.Path() / "SD26112410-001.csv", {"0 , 1", "10 , 2"});  // an earlier run
  WriteOneChannelLog(folder.Path() / "SD26112410-002.csv", {"0 , 5", "10 , 6"});
  WriteOneChannelLog(folder.Path() / "SD26112410-003.csv", {"20 , 7", "30 , 8"});
  WriteOneChannelLog(folder.Path() / "SD26112410-004.csv", {"40 , 9"});
  std::vector<std::string> files;
  const LogTable run = ReadLogRun((folder.Path() / "SD26112410-003.csv").string(), &files);
  EXPECT_EQ(run.labels, std::vector<std::string>{"炉 ch0"});
  EXPECT_EQ(run.times, (std::vector<double>{0, 10, 20, 30, 40}));
  EXPECT_EQ(run.columns[0], (std::vector<float>{5, 6, 7, 8, 9}));
  EXPECT_EQ(files.size(), 3u);
}

// A crashed run's journal: its rows as traces named by the devices'
// comments, up to a record cut short.
TEST(LogTable, AJournalReadsAsItsRunsTraces) {
  JournalHead head;
  head.viewCh = 2;
  head.devices = {{0, "炉"}, {5, "扉"}};
  std::string bytes = EncodeHead(head);
  for (int r = 0; r < 5; ++r) AppendRow(bytes, 10.0 * r, std::string{char(r), char(0x80)});
  bytes.resize(bytes.size() - 3);  // the last row cut short
  test::TempFolder folder;
  const fs::path path = folder.Write("20261124-101500-7.journal", bytes);
  const LogTable table = ReadLogFile(path.string());
  ASSERT_EQ(table.labels.size(), 16u);
  EXPECT_EQ(table.labels[0], "炉 b0");
  EXPECT_EQ(table.labels[15], "扉 b7");
  EXPECT_EQ(table.times, (std::vector<double>{0, 10, 20, 30}));
  EXPECT_EQ(Column(table, "炉 b1"), (std::vector<float>{0, 0, 1, 1}));
  EXPECT_EQ(Column(table, "扉 b7"), (std::vector<float>{1, 1, 1, 1}));
  EXPECT_NE(table.problem.find("壊れています"), std::string::npos) << table.problem;
}

TEST(LogTable, AFileCutShortShowsWhatItHoldsAndOneNotOursSaysSo) {
  test::TempFolder folder;
  const fs::path cut = folder.Path() / "cut.csv";
  WriteOneChannelLog(cut, {"0 , 1", "10 , 2", "20 , 3"});
  fs::resize_file(cut, fs::file_size(cut) - 5);  // the last row half written
  const LogTable table = ReadLogFile(cut.string());
  EXPECT_EQ(table.times, (std::vector<double>{0, 10}));
  EXPECT_NE(table.problem.find("行 11 が読めません"), std::string::npos) << table.problem;

  const fs::path other = folder.Path() / "other.csv";
  std::ofstream(other) << "a,b,c\n1,2,3\n";
  EXPECT_NE(ReadLogFile(other.string()).problem.find("ログではありません"), std::string::npos);
  const fs::path garbage = folder.Path() / "garbage.xls";
  std::ofstream(garbage) << "not a workbook";
  EXPECT_NE(ReadLogFile(garbage.string()).problem.find("ブックとして読めません"),
            std::string::npos);
}

}  // namespace
}  // namespace tavelin
