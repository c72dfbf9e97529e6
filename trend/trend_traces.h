#pragma once
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "trend/log_table.h"
#include "trend/min_max_pyramid.h"

namespace tavelin {

// The traces of one run on a shared time axis, live or read from its logs:
// what the trend window draws, computed without a window.
class TrendTraces {
 public:
  // Names the traces; a run's first sample comes after.
  void SetLabels(std::vector<std::string> labels);
  // One sample of every trace, in the order of the labels, at `timeMs`
  // (not before the last one's).
  void Append(double timeMs, const std::vector<float>& values);
  // The rows of `table` (its labels, its traces), each `block` rows kept as
  // two samples: every trace's minimum and maximum of the block in the
  // order they came, at the times of the block's first and last rows. So
  // each block's extremes show at every zoom, and a long run takes a
  // fraction of the memory. `block` 1 keeps every row.
  void AppendReduced(const LogTable& table, std::size_t block);
  // How many rows two samples stand for (1: every row is a sample).
  std::size_t Block() const { return block_; }

  const std::vector<std::string>& Labels() const { return labels_; }
  std::size_t Samples() const { return times_.size(); }
  double FirstMs() const { return times_.empty() ? 0.0 : times_.front(); }
  double LastMs() const { return times_.empty() ? 0.0 : times_.back(); }

  // The samples of each pixel column of `width` over [fromMs, toMs): column
  // x holds samples [bounds[x], bounds[x + 1]). The same for every trace.
  std::vector<std::size_t> ColumnBounds(double fromMs, double toMs, int width) const;
  // Per column: the true minimum and maximum of the trace's samples in it;
  // a column without a sample holds none.
  std::vector<MinMaxPyramid::Extremes> Columns(std::size_t trace,
                                               const std::vector<std::size_t>& bounds) const;
  std::vector<MinMaxPyramid::Extremes> Columns(std::size_t trace, double fromMs, double toMs,
                                               int width) const {
    return Columns(trace, ColumnBounds(fromMs, toMs, width));
  }
  // The trace's value at `timeMs`: the last sample at or before it.
  bool ValueAt(std::size_t trace, double timeMs, float& value) const;
  // The extremes of a whole trace, for its vertical scale.
  MinMaxPyramid::Extremes Range(std::size_t trace) const;
  std::size_t MemoryBytes() const;
  // Room for `samples` more samples of every trace; see MinMaxPyramid.
  void Reserve(std::size_t samples);
  void ShrinkToFit();

  // Whether a frame over [fromMs, toMs) of `width` columns wants more than
  // the reduced samples: fewer than two of them a column.
  bool NeedsDetail(double fromMs, double toMs, int width) const;
  // Every sample of a part of the run, read back for a narrow frame.
  void SetDetail(std::shared_ptr<const TrendTraces> detail) { detail_ = std::move(detail); }
  const TrendTraces* Detail() const { return detail_.get(); }
  // What a frame is drawn from: the detail when the frame wants it and it
  // covers the frame's span of the run, else these traces.
  const TrendTraces& ForSpan(double fromMs, double toMs, int width) const;

  // A live run's bound: past kLiveBytes, CompactOlder(kLiveDetail), so that
  // the newest five minutes at 1 kHz keep every sample.
  static constexpr std::size_t kLiveBytes = std::size_t{256} << 20;
  static constexpr std::size_t kLiveDetail = 300000;
  void KeepLiveBound() {
    if (MemoryBytes() > kLiveBytes) CompactOlder(kLiveDetail);
  }
  // Bounds a long live run's memory without hiding anything: the samples
  // before the newest `keepRecent` are replaced, eight by eight, by each
  // block's minimum and maximum in the order they came (two samples for
  // eight), so every trace keeps its extremes at every zoom.
  void CompactOlder(std::size_t keepRecent);

 private:
  std::size_t IndexAt(double timeMs) const;  // the first sample at or after
  // The same within [low, high], looked for outward from `guess`.
  std::size_t IndexNear(double timeMs, std::size_t guess, std::size_t low, std::size_t high) const;

  std::vector<std::string> labels_;
  std::vector<double> times_;
  std::vector<MinMaxPyramid> traces_;
  std::size_t block_ = 1;
  std::shared_ptr<const TrendTraces> detail_;
};

}  // namespace tavelin
