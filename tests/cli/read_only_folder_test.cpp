// A program installed where its user may not write (/opt, /usr): run by
// tests/support/in_read_only_folder.sh, which makes the folder read-only.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "cli/record_command.h"
#include "cli/settings_command.h"
#include "platform/program_folder.h"
#include "support/simulation.h"

namespace tavelin::cli {
namespace {

namespace fs = std::filesystem;

class ReadOnlyProgramFolder : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* folder = std::getenv("TAVELIN_READ_ONLY_FOLDER");
    if (folder == nullptr) GTEST_SKIP() << "run by in_read_only_folder.sh";
    program = folder;
    data = fs::path(std::getenv("XDG_DATA_HOME")) / "tavelin";
  }
  std::string program;
  fs::path data;
};

TEST_F(ReadOnlyProgramFolder, TheWritableFilesGoToTheDataFolder) {
  ASSERT_FALSE(FolderIsWritable(program));
  EXPECT_EQ(WritableFolder(program), data.string());
  EXPECT_TRUE(fs::is_directory(data));

  testing::internal::CaptureStdout();
  EXPECT_EQ(RunSettings({false, 3}, program), 0);
  EXPECT_EQ(RunSettings({}, program), 0);
  const std::string shown = testing::internal::GetCapturedStdout();
  EXPECT_NE(shown.find("設定フォルダ: " + data.string()), std::string::npos) << shown;
  EXPECT_NE(shown.find("表示モード         3"), std::string::npos) << shown;
  EXPECT_TRUE(fs::exists(data / "config.dat"));

  // A recording into the program's folder (mode 0) lands in the data folder.
  test::Simulation simulation("usbio 0 prepared constant 1\n");
  RunOptions options;
  options.seconds = 0.1;
  options.format = 2;
  testing::internal::CaptureStderr();
  const int status = RunRecord(options, program);
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(status, 0) << said;
  int logs = 0;
  for (const auto& entry : fs::directory_iterator(data)) logs += entry.path().extension() == ".csv";
  EXPECT_EQ(logs, 1);
}

}  // namespace
}  // namespace tavelin::cli
