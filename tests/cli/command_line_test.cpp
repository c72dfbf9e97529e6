#include "cli/command_line.h"

#include <gtest/gtest.h>

namespace tavelin::cli {
namespace {

using Words = std::vector<std::string>;

TEST(CommandLine, ReadsARunsOptionsAndAnswersHelpAndVersion) {
  const CommandLine line =
      ParseCommandLine({"monitor", "--seconds", "2.5", "--analysis", "--mode", "4"});
  ASSERT_FALSE(line.exitStatus) << line.output;
  EXPECT_EQ(line.command, "monitor");
  EXPECT_EQ(line.run.mode, 4);
  EXPECT_TRUE(line.run.analysis);
  EXPECT_EQ(line.run.seconds, 2.5);

  const CommandLine defaults = ParseCommandLine({"monitor"});
  EXPECT_EQ(defaults.run.mode, 1);
  EXPECT_FALSE(defaults.run.seconds);
  EXPECT_FALSE(defaults.run.analysis);

  const CommandLine record =
      ParseCommandLine({"record", "--sampling", "50", "--folder", "/tmp/x", "--comment", "炉 1",
                        "--subfolder", "--format", "xls"});
  ASSERT_FALSE(record.exitStatus) << record.output;
  EXPECT_EQ(record.run.samplingMs, 50);
  EXPECT_EQ(record.run.folder, "/tmp/x");
  EXPECT_EQ(record.run.comment, "炉 1");
  EXPECT_TRUE(record.run.subFolder);
  EXPECT_EQ(record.run.format, 1);

  const CommandLine view = ParseCommandLine({"settings", "--view", "3"});
  EXPECT_EQ(view.command, "settings");
  EXPECT_EQ(view.settings.view, 3);

  // Help and the version end the program well; the version is one line.
  EXPECT_EQ(ParseCommandLine({"record", "--help"}).exitStatus, 0);
  EXPECT_EQ(ParseCommandLine({"--version"}).output, "tavelin-cli " TAVELIN_VERSION "\n");
}

// A mistake ends the program with status 2 and a message naming what is
// wrong; a number option says whether the word is no number or outside its
// range, and states the range in plain numbers.
TEST(CommandLine, RefusesMistakesWithStatusTwoAndAReason) {
  struct Case {
    Words words;
    std::string named;
  };
  const std::string integers = " までの整数を指定してください: ";
  const Case cases[] = {
      {{"monitor", "--mode", "0"}, "--mode: 1 から 4" + integers + "0"},
      {{"monitor", "--mode", "3x"}, "--mode: 数ではありません: 3x"},
      {{"monitor", "--mode", "2.5"}, "--mode: 1 から 4" + integers + "2.5"},
      {{"monitor", "--mode"}, "--mode"},
      {{"record", "--seconds", "-3"},
       "--seconds: 0 より大きく 31536000 までの数を指定してください: -3"},
      {{"record", "--seconds", "soon"}, "--seconds: 数ではありません: soon"},
      {{"monitor", "--colour"}, "--colour"},
      {{"record", "--sampling", "1e3"}, "--sampling: 1 から 3600000" + integers + "1e3"},
      {{"record", "--sampling", "3600001"}, "--sampling"},
      {{"record", "--folder"}, "--folder"},
      {{"record", "--format", "ods"}, "--format"},
      {{"monitor", "--sampling", "50"}, "--sampling"},             // a log option of record only
      {{"record", "--comment", "\xB0\xEC\xA4\xEA"}, "--comment"},  // EUC-JP, not UTF-8
      {{"record", "--folder", "/tmp/\xF0x"}, "--folder"},
      {{"settings", "--reset", "--view", "2"}, "--view"},
      {{"settings", "--view", "7"}, "--view"},
      {{"measure"}, "measure"},
      {{}, "subcommand"},
  };
  for (const Case& c : cases) {
    const CommandLine line = ParseCommandLine(c.words);
    ASSERT_TRUE(line.exitStatus) << c.named;
    EXPECT_EQ(*line.exitStatus, 2) << c.named;
    EXPECT_NE(line.output.find(c.named), std::string::npos) << c.named << ": " << line.output;
  }
}

}  // namespace
}  // namespace tavelin::cli
