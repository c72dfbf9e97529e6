#include "cli/run_options.h"

#include <gtest/gtest.h>

namespace tavelin::cli {
namespace {

TEST(RunOptions, ReadsModeAndSeconds) {
  std::string error;
  const auto options =
      ParseRunOptions({"--seconds", "2.5", "--analysis", "--mode", "4"}, false, error);
  ASSERT_TRUE(options);
  EXPECT_EQ(options->mode, 4);
  EXPECT_TRUE(options->analysis);
  EXPECT_EQ(options->seconds, 2.5);
  const auto defaults = ParseRunOptions({}, false, error);
  ASSERT_TRUE(defaults);
  EXPECT_EQ(defaults->mode, 1);
  EXPECT_FALSE(defaults->seconds);
  EXPECT_FALSE(defaults->analysis);
}

TEST(RunOptions, RefusesBadArgumentsWithAReason) {
  const std::vector<std::vector<std::string>> bad = {
      {"--mode", "0"},           {"--mode", "5"},       {"--mode", "3x"},   {"--mode"},
      {"--seconds", "-1"},       {"--seconds", "soon"}, {"--colour"},       {"--sampling", "0"},
      {"--sampling", "3600001"}, {"--folder"},          {"--format", "ods"}};
  for (const auto& args : bad) {
    std::string error;
    EXPECT_FALSE(ParseRunOptions(args, true, error)) << args[0];
    EXPECT_NE(error.find(args[0]), std::string::npos) << error;
  }
}

TEST(RunOptions, LogOptionsBelongToRecordingOnly) {
  std::string error;
  const std::vector<std::string> args = {"--sampling", "50",   "--folder",   "/tmp/x",
                                         "--comment",  "炉 1", "--subfolder"};
  const auto options = ParseRunOptions(args, true, error);
  ASSERT_TRUE(options);
  EXPECT_EQ(options->samplingMs, 50);
  EXPECT_EQ(options->folder, "/tmp/x");
  EXPECT_EQ(options->comment, "炉 1");
  EXPECT_TRUE(options->subFolder);
  EXPECT_FALSE(ParseRunOptions(args, false, error));
  EXPECT_NE(error.find("--sampling"), std::string::npos);
}

}  // namespace
}  // namespace tavelin::cli
