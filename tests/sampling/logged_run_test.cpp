// Sampling runs that log to csv: pacing, rollover and the last file.
#include <gtest/gtest.h>

#include <algorithm>

#include "logging/journal_recovery.h"
#include "logging/log_test_support.h"
#include "platform/file_system.h"
#include "support/sampling_run.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;
using test::g_now;
using test::Simulation;

class LoggedRun : public test::SamplingRun {
 protected:
  LoggedRun() : simulation_("usbio 0 prepared constant 3\nprobe 1 constant 9\n") {
    device.t_LogSave_Enable = 1;
    device.t_LogSaveFormat = 2;
    device.t_LogSaveFilePath_mode = 0;
    device.t_LogSampling = 10;
  }

  // The run's log files, oldest name first.
  std::vector<std::string> Logs() const {
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(logFolder.Path())) {
      if (entry.is_regular_file()) files.push_back(test::ReadLog(entry.path()));
    }
    std::sort(files.begin(), files.end());
    return files;
  }

  static std::vector<std::string> Times(const std::string& log) {
    std::vector<std::string> times;
    const std::string marker = "\r\n";
    for (std::size_t at = log.find(" , "); at != std::string::npos; at = log.find(" , ", at)) {
      const std::size_t lineStart = log.rfind(marker, at) + marker.size();
      times.push_back(log.substr(lineStart, at - lineStart));
      at = log.find(marker, at);
    }
    for (auto& time : times) time.erase(0, time.find_first_not_of(' '));
    return times;
  }

 private:
  Simulation simulation_;
};

// A row comes once the period has passed, equality included; a period
// changed during the run takes effect at once. The clock starts at 1000,
// past the period, so the first pass logs.
TEST_F(LoggedRun, RowsComeWhenThePeriodHasPassedEqualityIncluded) {
  const std::pair<int, std::vector<std::string>> cases[] = {
      {0, {"0", "10", "20", "30"}}, {3, {"0", "10", "15", "20", "25", "30", "35"}}};
  for (const auto& [changeAt, times] : cases) {
    passMs = 5;
    passes = 0;
    disconnectAfter = 8;
    device.t_LogSampling = 10;
    onPass = [&] {
      if (passes == changeAt) device.t_LogSampling = 5;
    };
    Run(1);
    const auto logs = Logs();
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_EQ(Times(logs[0]), times);
    fs::remove_all(logFolder.Path());
    fs::create_directory(logFolder.Path());
  }
}

TEST_F(LoggedRun, ARunStoppedAtOnceStillWritesItsOneRow) {
  disconnectAfter = 1;
  Run(4);
  const auto logs = Logs();
  ASSERT_EQ(logs.size(), 1u);
  EXPECT_NE(logs[0].find("ch1 ：1ch\r\n"), std::string::npos);
  EXPECT_EQ(Times(logs[0]).size(), 1u);
  EXPECT_NE(logs[0].find(" , 9 , 0 , 0 , 0 , 0 , 0 , \r\n"), std::string::npos);
}

struct Rollover {
  int rows;
  std::vector<std::size_t> rowsPerFile;  // files in the order written
};

TEST_F(LoggedRun, TheRowAfterAFullBufferRollsOverAndItsFileHoldsTheHeaderAlone) {
  const Rollover cases[] = {
      {20000, {20000}},
      {20001, {0, 0}},  // ended right after the rollover
      {20002, {0, 1}},
  };
  for (const Rollover& c : cases) {
    test::TempFolder folder;
    device.t_LogSaveFilePath_mode = 2;
    device.t_LogSaveFilePath = folder.Path().string();
    device.t_LogSampling = 1;
    passMs = 1;
    passes = 0;
    disconnectAfter = c.rows;
    Run(1);
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.Path())) names.push_back(entry.path());
    std::sort(names.begin(), names.end());
    ASSERT_EQ(names.size(), c.rowsPerFile.size()) << c.rows;
    for (std::size_t i = 0; i < names.size(); ++i) {
      EXPECT_EQ(Times(test::ReadLog(names[i])).size(), c.rowsPerFile[i]) << c.rows << " " << i;
    }
    EXPECT_EQ(engine_.Excel_DB.Excel_DB_ArayyCh, c.rows > 20000 ? 2 : 1);
  }
}

TEST_F(LoggedRun, LoggingOffWritesNothingButStillMakesTheSubFolder) {
  device.t_LogSave_Enable = 0;
  device.t_LogSave_subFolder = 1;
  device.t_LogSaveFilePath = logFolder.Path().string();
  device.t_LogComment = "off";
  Run(2);
  EXPECT_TRUE(fs::is_directory(logFolder.Path() / "off"));
  EXPECT_TRUE(Logs().empty());
  EXPECT_NE(engine_.Excel_DB.csv_Header_Bottom.find("off"), std::string::npos);
}

// The name search and the workbook write yield to the message pump: with
// the environment the program and the console use, as with any other.
class LoggedRunOnTheSystem : public test::SamplingRun {
 protected:
  LoggedRunOnTheSystem() : SamplingRun(SystemLogEnvironment) {}
  test::Simulation simulation_{"usbio 0 prepared constant 3\n"};
};

std::string DateInAnHour(int hours) {
  const std::time_t when = std::time(nullptr) + hours * 3600;
  std::tm parts{};
  localtime_r(&when, &parts);
  return FileNameDate({parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, 0, 0});
}

TEST_F(LoggedRunOnTheSystem, TheLastFilesWriteYieldsToThePump) {
  struct Case {
    const char* name;
    int32_t format;
    int takenNames;  // files already there, each passed with a yield
    int yields;
  };
  const Case cases[] = {{"csv, its name taken twice", 2, 2, 2}, {"workbook, its save", 1, 0, 1}};
  for (const Case& c : cases) {
    for (int hours : {0, 1}) {  // the hour may turn during the run
      for (int n = 1; n <= c.takenNames; ++n) {
        logFolder.Write("SD" + DateInAnHour(hours) + "-00" + std::to_string(n) +
                            (c.format == 1 ? ".xls" : ".csv"),
                        "");
      }
    }
    device.t_LogSave_Enable = 1;
    device.t_LogSaveFormat = c.format;
    device.ExcelInstallCheck = 1;
    device.t_LogSaveFilePath_mode = 0;
    view.objExcel = c.format == 1 ? std::make_shared<ExcelApplication>() : nullptr;
    passes = 0;
    disconnectAfter = 3;
    Run(1);
    EXPECT_EQ(passes - disconnectAfter, c.yields) << c.name;
    for (const auto& entry : fs::directory_iterator(logFolder.Path())) fs::remove(entry.path());
  }
}

// A run whose last file cannot be written (its log folder removed during
// the run) keeps its rows in its journal; recovered, they make the file a
// run that ends well makes, for every kind of row.
class LoggedRunWithJournal : public test::SamplingRun {
 protected:
  static LogEnvironment WithJournal(const std::string& folder) {
    LogEnvironment environment = PlainEnvironment(folder);
    environment.journalFolder = folder + "-journal";
    return environment;
  }
  LoggedRunWithJournal() : SamplingRun(WithJournal) {
    device.t_LogSave_Enable = 1;
    device.t_LogSaveFormat = 2;
    device.t_LogSampling = 10;
    for (int16_t c = 0; c < 16; ++c) device.usbio_multiply(c) = 0.25;
  }
  std::string JournalFolder() const { return logFolder.Path().string() + "-journal"; }

  // Scripted inputs that vary row by row; a new tag plugs in new devices,
  // so each run reads the same steps from the first.
  void PlugInBench(const std::string& tag) {
    std::vector<std::string> bits, probe;
    for (int step = 0; step < 37; ++step) {
      bits.push_back(std::to_string(step * 7 % 256));
      std::string values;
      for (int input = 0; input < 6; ++input)
        values += std::to_string((step * 97 + input * 500) % 4096) + " ";
      probe.push_back(values);
    }
    simulation_.Script("bits-" + tag + ".seq", bits);
    simulation_.Script("probe-" + tag + ".seq", probe);
    simulation_.Rewrite("usbio 0 prepared script bits-" + tag +
                        ".seq\nusbio 3 prepared constant 7\n" + "probe 1 script probe-" + tag +
                        ".seq\n");
  }
  test::Simulation simulation_{""};
};

// Everything after the date line: the rows and the header they follow.
std::string AfterTheDate(const std::string& log) {
  return log.substr(log.find("\r\n", log.find("Date:")));
}

TEST_F(LoggedRunWithJournal, ALostLastFileIsRecoveredAsTheRunWouldHaveWrittenIt) {
  for (int32_t mode : {1, 3, 4}) {
    PlugInBench(std::to_string(mode) + "-normal");
    g_now = 1000.0;
    passes = 0;
    passMs = 3;
    disconnectAfter = 400;
    Run(mode);
    ASSERT_TRUE(fs::is_empty(JournalFolder())) << "a run that ended well keeps no journal";
    const auto written = fs::directory_iterator(logFolder.Path())->path();
    const std::string normal = AfterTheDate(test::ReadLog(written));
    EXPECT_GT(std::count(normal.begin(), normal.end(), '\n'), 100) << mode;
    fs::remove(written);

    PlugInBench(std::to_string(mode) + "-cut");
    g_now = 1000.0;
    passes = 0;
    onPass = [&] {
      if (passes == 200) fs::remove_all(logFolder.Path());  // the folder goes mid-run
    };
    EXPECT_THROW(Run(mode), FileError);
    onPass = nullptr;
    fs::create_directories(logFolder.Path());
    test::LogBench bench;
    const auto leftovers = LeftoverJournals(JournalFolder());
    ASSERT_EQ(leftovers.size(), 1u) << mode;
    const Recovery recovery =
        RecoverJournal(leftovers[0].path, bench.Environment(), logFolder.Path().string());
    ASSERT_EQ(recovery.files.size(), 1u) << mode;
    EXPECT_EQ(AfterTheDate(test::ReadLog(recovery.files[0])), normal) << mode;
    fs::remove(recovery.files[0]);
    EXPECT_TRUE(fs::is_empty(JournalFolder()));
  }
}

}  // namespace
}  // namespace tavelin
