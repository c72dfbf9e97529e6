// The pyramid's extremes against a plain walk over the samples, for random
// data and random spans; the traces' columns by time.
#include "trend/min_max_pyramid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "trend/trend_traces.h"

namespace tavelin {
namespace {

TEST(MinMaxPyramid, AnySpanHasTheExtremesOfItsSamples) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> value(-1000.0f, 1000.0f);
  MinMaxPyramid pyramid;
  std::vector<float> samples;
  for (int i = 0; i < 40000; ++i) {
    samples.push_back(value(random));
    pyramid.Append(samples.back());
  }
  EXPECT_EQ(pyramid.Levels(), 5u);  // 8, 64, 512, 4096, 32768
  std::uniform_int_distribution<std::size_t> at(0, samples.size());
  for (int i = 0; i < 2000; ++i) {
    std::size_t first = at(random), last = at(random);
    if (first > last) std::swap(first, last);
    const auto e = pyramid.Over(first, last);
    ASSERT_EQ(e.any, first < last);
    if (!e.any) continue;
    const auto [lo, hi] = std::minmax_element(samples.begin() + static_cast<long>(first),
                                              samples.begin() + static_cast<long>(last));
    ASSERT_EQ(e.min, *lo) << first << ".." << last;
    ASSERT_EQ(e.max, *hi) << first << ".." << last;
  }
  EXPECT_FALSE(pyramid.Over(10, 10).any);
  EXPECT_EQ(pyramid.Over(39990, 99999).max, *std::max_element(samples.end() - 10, samples.end()))
      << "a span past the end stops at the last sample";
}

// Columns by time: samples at an uneven pace, a gap without samples, and
// the cursor's value, the last sample at or before it. (Between two dense
// columns a bound may move by under a quarter of a column.)
TEST(TrendTraces, ColumnsHoldTheSamplesWhoseTimeFallsInThem) {
  TrendTraces traces;
  traces.SetLabels({"a", "b"});
  for (int ms = 0; ms < 1000; ++ms) traces.Append(ms, {ms == 700 ? 9.0f : 1.0f, float(ms)});
  traces.Append(3000, {2.0f, 3000.0f});                // a gap of two seconds
  const auto columns = traces.Columns(0, 0, 4000, 8);  // 500 ms a column
  ASSERT_EQ(columns.size(), 8u);
  EXPECT_EQ(columns[0].max, 1.0f);
  EXPECT_EQ(columns[1].max, 9.0f) << "the pulse at 700 ms";
  EXPECT_FALSE(columns[2].any);
  EXPECT_EQ(columns[6].min, 2.0f);
  const auto b = traces.Columns(1, 250, 750, 2);
  EXPECT_EQ(b[0].min, 250.0f);
  EXPECT_EQ(b[1].max, 749.0f);
  float value = 0.0f;
  ASSERT_TRUE(traces.ValueAt(1, 2999.5, value));
  EXPECT_EQ(value, 999.0f);
  EXPECT_FALSE(traces.ValueAt(1, -1, value));
  EXPECT_THROW(traces.Append(4000, {1.0f}), std::invalid_argument);
}

// Bounds found outward from where a steady pace would put them are the
// bounds a search of the whole run finds, however unsteady the pace: bursts,
// gaps, samples at one time.
TEST(TrendTraces, ColumnBoundsAreTheFirstSamplesOfTheirColumnsAtAnyPace) {
  std::mt19937 random(11);
  TrendTraces traces;
  traces.SetLabels({"a"});
  double ms = 0.0;
  std::vector<double> times;
  for (int i = 0; i < 5000; ++i) {
    const int kind = static_cast<int>(random() % 10);
    ms += kind == 0 ? 500.0 : kind < 4 ? 0.0 : 1.0 + random() % 5;  // gaps, repeats, steps
    times.push_back(ms);
    traces.Append(ms, {1.0f});
  }
  for (int frame = 0; frame < 200; ++frame) {
    const double from = static_cast<double>(random() % static_cast<unsigned>(ms)) - 50.0;
    const double to = from + 1.0 + static_cast<double>(random() % 3000);
    const int width = 1 + static_cast<int>(random() % 400);
    const auto bounds = traces.ColumnBounds(from, to, width);
    ASSERT_EQ(bounds.size(), static_cast<std::size_t>(width) + 1);
    for (int x = 0; x <= width; ++x) {
      const double at = from + (to - from) / width * x;
      const auto expected = std::lower_bound(times.begin(), times.end(), at) - times.begin();
      ASSERT_EQ(bounds[static_cast<std::size_t>(x)], static_cast<std::size_t>(expected))
          << "frame " << frame << " column " << x;
    }
  }
}

// A long live run compacted: older samples keep their extremes, eight to
// two, in order; the newest ones stay whole.
TEST(TrendTraces, CompactingKeepsEveryExtremeAndTheNewestSamples) {
  TrendTraces traces;
  traces.SetLabels({"a"});
  for (int ms = 0; ms < 1000; ++ms) {
    traces.Append(ms, {ms == 333 ? -5.0f : ms == 334 ? 7.0f : float(ms % 3)});
  }
  traces.CompactOlder(100);
  EXPECT_EQ(traces.Samples(), 896u / 4 + 104u);  // 112 blocks of the oldest 896, then 104 whole
  EXPECT_EQ(traces.Range(0).min, -5.0f);
  EXPECT_EQ(traces.Range(0).max, 7.0f);
  const auto columns = traces.Columns(0, 328, 336, 1);
  EXPECT_EQ(columns[0].min, -5.0f) << "the pulse keeps its place in time";
  EXPECT_EQ(columns[0].max, 7.0f);
  float value = 0.0f;
  ASSERT_TRUE(traces.ValueAt(0, 950, value));
  EXPECT_EQ(value, float(950 % 3)) << "the newest samples are whole";
  EXPECT_EQ(traces.LastMs(), 999.0);
}

}  // namespace
}  // namespace tavelin
