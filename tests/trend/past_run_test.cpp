// A long run read back for the trend within a memory budget: each block of
// rows keeps its extremes, the run goes on across clock hours, and a narrow
// span reads every row again.
#include "trend/past_run.h"

#include <gtest/gtest.h>

#include "support/one_channel_log.h"
#include "support/simulation.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

// A csv log of one channel, rows [first, last) 10 ms apart from `startMs`.
void WriteRun(const fs::path& path, int first, int last, double startMs, float (*value)(int row)) {
  std::vector<std::string> rows;
  for (int row = first; row < last; ++row) {
    rows.push_back(std::to_string(startMs + 10.0 * (row - first)) + " , " +
                   std::to_string(value(row)));
  }
  test::WriteOneChannelLog(path, rows, "2026/11/24 09:59:00");
}

float WithPulses(int row) {
  return row == 1234 ? 100.0f : row == 2345 ? -50.0f : static_cast<float>(row % 7);
}

TEST(PastRun, ALongRunKeepsEachBlocksExtremesAndReadsEveryRowBack) {
  test::TempFolder folder;
  const auto zero = [](int) { return 0.0f; };
  WriteRun(folder.Path() / "SD26112409-098.csv", 0, 500, 0, zero);  // the run before
  WriteRun(folder.Path() / "SD26112409-099.csv", 0, 1000, 0, WithPulses);
  WriteRun(folder.Path() / "SD26112410-001.csv", 1000, 2000, 10000, WithPulses);
  WriteRun(folder.Path() / "SD26112410-002.csv", 2000, 3000, 20000, WithPulses);
  WriteRun(folder.Path() / "SD26112410-003.csv", 0, 500, 0, zero);  // the run after

  // Opened at its middle file, with room for about a tenth of its rows.
  PastRun run = ReadPastRun((folder.Path() / "SD26112410-001.csv").string(), nullptr, 8000);
  ASSERT_EQ(run.files.size(), 3u) << run.problem;
  EXPECT_EQ(fs::path(run.files[0].path).filename(), "SD26112409-099.csv");
  EXPECT_EQ(run.rows, 3000u);
  TrendTraces& traces = run.traces;
  ASSERT_GT(traces.Block(), 1u);
  EXPECT_LE(traces.Samples(), 3000u / traces.Block() * 2 + 6);
  EXPECT_EQ(traces.Range(0).min, -50.0f);
  EXPECT_EQ(traces.Range(0).max, 100.0f);
  EXPECT_EQ(traces.LastMs(), 29990.0);
  // The whole run in 100 columns of 300 ms: each pulse in its own column.
  const auto whole = traces.Columns(0, 0, 30000, 100);
  EXPECT_EQ(whole[12340 / 300].max, 100.0f);
  EXPECT_EQ(whole[23450 / 300].min, -50.0f);
  EXPECT_EQ(whole[50].max, 6.0f);

  // 600 ms in 100 columns wants every row: read back from the one file.
  EXPECT_FALSE(traces.NeedsDetail(0, 30000, 100));
  ASSERT_TRUE(traces.NeedsDetail(12000, 12600, 100));
  EXPECT_EQ(&traces.ForSpan(12000, 12600, 100), &traces) << "nothing read back yet";
  const auto detail = ReadDetail(run.files, traces.Labels(), 12000, 12600);
  ASSERT_NE(detail, nullptr);
  EXPECT_EQ(detail->Samples(), 1000u);
  traces.SetDetail(detail);
  const TrendTraces& shown = traces.ForSpan(12000, 12600, 100);
  ASSERT_EQ(&shown, detail.get());
  float value = 0.0f;
  for (const int row : {1200, 1233, 1234, 1235, 1259}) {
    ASSERT_TRUE(shown.ValueAt(0, row * 10.0, value));
    EXPECT_EQ(value, WithPulses(row)) << row;
  }
  EXPECT_EQ(&traces.ForSpan(0, 30000, 100), &traces) << "the whole run stays reduced";
  EXPECT_EQ(&traces.ForSpan(25000, 25600, 100), &traces) << "outside what was read back";
  EXPECT_EQ(ReadDetail(run.files, traces.Labels(), 0, 30000, 2), nullptr) << "three files";
}

}  // namespace
}  // namespace tavelin
