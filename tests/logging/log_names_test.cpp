// Log folders, sub folders and file names.
#include "logging/log_names.h"

#include <gtest/gtest.h>

#include "logging/log_test_support.h"
#include "platform/file_system.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

class LogNames : public ::testing::Test {
 protected:
  LogNames() {
    device.t_LogSaveFormat = 2;
    device.t_LogSaveFilePath = bench.program.Path().string();
  }

  std::string NextPath() {
    return LogFilePath(device, bench.now, date, number, folder, environment).path;
  }
  void Touch(const std::string& path) { CreateTextFile(path).Close(); }

  test::LogBench bench;
  LogEnvironment environment = bench.Environment();
  ELM327_Info device;
  std::string date, number, folder;
};

TEST_F(LogNames, NumbersRunWithinAClockHourAndRestartInTheNextTheExtensionByFormat) {
  const std::string base = bench.program.Path().string() + "/SD26030214-";
  const std::string first = NextPath();
  EXPECT_EQ(first, base + "001.csv");
  Touch(first);
  EXPECT_EQ(NextPath(), base + "002.csv");
  Touch(base + "002.csv");
  bench.now.hour = 15;
  EXPECT_EQ(NextPath(), bench.program.Path().string() + "/SD26030215-001.csv");
  EXPECT_EQ(date, "26030215");
  EXPECT_EQ(bench.yields, 1);  // one per name found taken
  // The extension follows the format.
  device.t_LogSaveFormat = 1;
  EXPECT_EQ(fs::path(NextPath()).filename(), "SD26030215-001.xls");
  device.t_LogSaveFormat = 7;
  EXPECT_EQ(fs::path(NextPath()).filename(), "SD26030215-001");
}

TEST_F(LogNames, PastNinetyNineTheOldNumberStaysInFront) {
  const std::string base = bench.program.Path().string() + "/SD26030214-";
  for (int n = 1; n <= 99; ++n) {
    char text[8];
    std::snprintf(text, sizeof text, "%03d", n);
    Touch(base + text + ".csv");
  }
  EXPECT_EQ(NextPath(), base + "099100.csv");
  EXPECT_EQ(number, "099100");
  EXPECT_EQ(bench.yields, 99);
  Touch(base + "099100.csv");
  // The next write of the hour reads 099100 as a number past 1000: no search,
  // the file is taken over.
  EXPECT_EQ(NextPath(), base + "099100.csv");
  EXPECT_EQ(bench.yields, 99);
}

// A name is taken as it is found: two runs logging into one folder in the
// same hour get two names before either has written a byte.
TEST_F(LogNames, ANameIsTakenAsItIsFound) {
  const std::string base = bench.program.Path().string() + "/SD26030214-";
  std::string otherDate, otherNumber;
  const LogFileName mine = LogFilePath(device, bench.now, date, number, folder, environment);
  const LogFileName theirs =
      LogFilePath(device, bench.now, otherDate, otherNumber, folder, environment);
  EXPECT_EQ(mine.path, base + "001.csv");
  EXPECT_EQ(theirs.path, base + "002.csv");
  EXPECT_TRUE(fs::exists(mine.path) && fs::file_size(mine.path) == 0);
  EXPECT_FALSE(mine.overwrites || theirs.overwrites);
  {
    TakenLogName given(theirs);  // its write failed: the name is free again
  }
  EXPECT_FALSE(fs::exists(theirs.path));
  {
    TakenLogName kept(mine);
    kept.Written();
  }
  EXPECT_TRUE(fs::exists(mine.path));
}

// At the limit the search stops and the file there is written over, which
// the name says.
TEST_F(LogNames, AtTheLimitTheFileIsWrittenOverAndSaidSo) {
  const std::string base = bench.program.Path().string() + "/SD26030214-";
  date = "26030214";
  number = "099100101";
  Touch(base + "099100101.csv");
  const LogFileName name = LogFilePath(device, bench.now, date, number, folder, environment);
  EXPECT_EQ(name.path, base + "099100101.csv");
  EXPECT_TRUE(name.overwrites);
  {
    TakenLogName kept(name);  // a failed write over an old file leaves it
  }
  EXPECT_TRUE(fs::exists(name.path));
}

// The desktop the logs fall back to is made where it does not exist, and
// a folder that takes no file is said before a run.
TEST_F(LogNames, TheDesktopIsMadeAndAFolderThatTakesNoFileIsSaid) {
  environment.desktopFolder = (bench.desktop.Path() / "Desktop").string();
  device.t_LogSaveFilePath_mode = 2;
  device.t_LogSaveFilePath = (bench.program.Path() / "gone").string();
  EXPECT_EQ(LogFolderRefusal(device, environment), std::nullopt);
  EXPECT_TRUE(fs::is_directory(environment.desktopFolder));
  EXPECT_EQ(device.t_LogSaveFilePath, environment.desktopFolder);
  EXPECT_TRUE(fs::is_empty(environment.desktopFolder));  // the test file is gone again
  device.t_LogSaveFilePath = "/proc/self";
  const auto refusal = LogFolderRefusal(device, environment);
  ASSERT_TRUE(refusal.has_value());
  EXPECT_NE(refusal->find("/proc/self/"), std::string::npos) << *refusal;
}

TEST_F(LogNames, BaseFolderByMode) {
  device.t_LogSaveFilePath_mode = 1;
  EXPECT_EQ(LogBaseFolder(device, environment), bench.desktop.Path().string());
  device.t_LogSaveFilePath_mode = 2;
  const std::string chosen = (bench.program.Path() / "logs").string();
  CreateFolder(chosen);
  device.t_LogSaveFilePath = chosen;
  EXPECT_EQ(LogBaseFolder(device, environment), chosen);
  fs::remove(chosen);  // deleted while the program runs
  EXPECT_EQ(LogBaseFolder(device, environment), bench.desktop.Path().string());
  EXPECT_EQ(device.t_LogSaveFilePath, bench.desktop.Path().string());  // and saved so
  device.t_LogSaveFilePath_mode = 3;
  EXPECT_EQ(LogBaseFolder(device, environment), "");
}

TEST_F(LogNames, CommentsBecomeFolderNames) {
  EXPECT_EQ(SubFolderNameOf("a\r\nb\rc\nd"), "abcd");
  EXPECT_EQ(SubFolderNameOf("\t\\/:*?\"<>|"), "　　￥／：＊？ ＜＞｜");
  EXPECT_EQ(SubFolderNameOf(" 炉.  "), " 炉.  ");
}

TEST_F(LogNames, ATakenSubFolderGetsTheNextSuffix) {
  device.t_LogComment = "試験:1";
  for (const char* expected : {"試験：1", "試験：1-002", "試験：1-003"}) {
    folder.clear();
    GetSubFolderName(device, folder, environment);
    EXPECT_EQ(folder, expected);
    EXPECT_TRUE(FolderExists((bench.program.Path() / expected).string()));
  }
  // Files of the run go into its folder.
  device.t_LogSave_subFolder = 1;
  EXPECT_EQ(fs::path(NextPath()).parent_path(), bench.program.Path() / "試験：1-003");
  // An empty comment starts at -002.
  device.t_LogComment = "";
  for (const char* expected : {"-002", "-003"}) {
    folder.clear();
    GetSubFolderName(device, folder, environment);
    EXPECT_EQ(folder, expected);
  }
}

TEST_F(LogNames, AFirstFolderIsMadeUnderTheSavedPathNotTheBase) {
  test::TempFolder elsewhere;
  device.t_LogSaveFilePath = elsewhere.Path().string();
  device.t_LogComment = "run";
  GetSubFolderName(device, folder, environment);
  EXPECT_EQ(folder, "run");
  EXPECT_TRUE(FolderExists((elsewhere.Path() / "run").string()));
  // The base has no such folder, so the files stay in the plain base.
  device.t_LogSave_subFolder = 1;
  EXPECT_EQ(fs::path(NextPath()).parent_path(), bench.program.Path());
  // A missing base makes no folder.
  environment.programFolder = (bench.program.Path() / "gone").string();
  folder = "kept";
  GetSubFolderName(device, folder, environment);
  EXPECT_EQ(folder, "kept");
}

}  // namespace
}  // namespace tavelin
