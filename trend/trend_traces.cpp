#include "trend/trend_traces.h"

#include <algorithm>
#include <stdexcept>

namespace tavelin {
namespace {

// The two samples a block of `count` values keeps: its minimum and its
// maximum, in the order they came.
void AppendExtremes(MinMaxPyramid& to, const float* values, std::size_t count) {
  std::size_t low = 0, high = 0;
  for (std::size_t i = 1; i < count; ++i) {
    if (values[i] < values[low]) low = i;
    if (values[i] > values[high]) high = i;
  }
  to.Append(values[std::min(low, high)]);
  to.Append(values[std::max(low, high)]);
}

}  // namespace

void TrendTraces::SetLabels(std::vector<std::string> labels) {
  labels_ = std::move(labels);
  times_.clear();
  traces_.assign(labels_.size(), MinMaxPyramid{});
  detail_.reset();
}

void TrendTraces::AppendReduced(const LogTable& table, std::size_t block) {
  if (table.columns.size() != traces_.size())
    throw std::invalid_argument("a table of other traces");
  block_ = std::max<std::size_t>(block, 1);
  const std::size_t rows = table.times.size();
  if (block_ == 1) {
    for (const double time : table.times) times_.push_back(std::max(time, LastMs()));
    for (std::size_t t = 0; t < traces_.size(); ++t) {
      for (const float value : table.columns[t]) traces_[t].Append(value);
    }
    return;
  }
  for (std::size_t first = 0; first < rows; first += block_) {
    const std::size_t count = std::min(block_, rows - first);
    times_.push_back(std::max(table.times[first], LastMs()));
    times_.push_back(std::max(table.times[first + count - 1], LastMs()));
    for (std::size_t t = 0; t < traces_.size(); ++t)
      AppendExtremes(traces_[t], table.columns[t].data() + first, count);
  }
}

void TrendTraces::Append(double timeMs, const std::vector<float>& values) {
  if (values.size() != traces_.size()) throw std::invalid_argument("a sample of other traces");
  times_.push_back(std::max(timeMs, LastMs()));
  for (std::size_t t = 0; t < values.size(); ++t) traces_[t].Append(values[t]);
}

std::size_t TrendTraces::IndexAt(double timeMs) const {
  return static_cast<std::size_t>(std::lower_bound(times_.begin(), times_.end(), timeMs) -
                                  times_.begin());
}

std::size_t TrendTraces::IndexNear(double timeMs, std::size_t guess, std::size_t low,
                                   std::size_t high) const {
  guess = std::clamp(guess, low, high);
  std::size_t from = guess, to = guess;
  for (std::size_t stride = 1; to < high && times_[to] < timeMs; stride *= 2) {
    from = to + 1;
    to = std::min(high, to + stride);
  }
  for (std::size_t stride = 1; from > low && times_[from - 1] >= timeMs; stride *= 2) {
    to = from - 1;
    from = from - std::min(from - low, stride);
  }
  return static_cast<std::size_t>(
      std::lower_bound(times_.begin() + static_cast<std::ptrdiff_t>(from),
                       times_.begin() + static_cast<std::ptrdiff_t>(to), timeMs) -
      times_.begin());
}

std::vector<std::size_t> TrendTraces::ColumnBounds(double fromMs, double toMs, int width) const {
  std::vector<std::size_t> bounds;
  if (width <= 0 || !(toMs > fromMs)) return bounds;
  const double step = (toMs - fromMs) / width;
  bounds.reserve(static_cast<std::size_t>(width) + 1);
  // Samples come at a steady pace: each bound is looked for outward from
  // where that pace puts it, a few steps through memory at hand instead of
  // a search of the whole run per column.
  const std::size_t first = IndexAt(fromMs);
  const std::size_t last = IndexAt(toMs);
  bounds.push_back(first);
  for (int x = 1; x < width; ++x) {
    const auto guess =
        first + static_cast<std::size_t>(static_cast<double>(last - first) * x / width);
    bounds.push_back(IndexNear(fromMs + step * x, guess, bounds.back(), last));
  }
  bounds.push_back(last);
  // Zoomed out, an inner bound between two columns of many samples moves to
  // the nearest block of a level that is a quarter of a column or less:
  // every sample still counts in exactly one column, the bound moves by
  // less than a quarter of a pixel, and a column's extremes come from the
  // coarse levels alone, which stay in the cache. Sparse columns stay exact.
  const std::size_t perColumn = (bounds.back() - bounds.front()) / static_cast<std::size_t>(width);
  std::size_t block = 1;
  while (block * MinMaxPyramid::kFactor * 4 <= perColumn) block *= MinMaxPyramid::kFactor;
  if (block > 1) {
    const std::vector<std::size_t> exact = bounds;
    for (std::size_t x = 1; x + 1 < exact.size(); ++x) {
      if (exact[x] - exact[x - 1] >= 4 * block && exact[x + 1] - exact[x] >= 4 * block) {
        bounds[x] = (exact[x] + block / 2) / block * block;
      }
    }
  }
  return bounds;
}

std::vector<MinMaxPyramid::Extremes> TrendTraces::Columns(
    std::size_t trace, const std::vector<std::size_t>& bounds) const {
  const MinMaxPyramid& pyramid = traces_.at(trace);
  std::vector<MinMaxPyramid::Extremes> columns(bounds.empty() ? 0 : bounds.size() - 1);
  for (std::size_t x = 0; x < columns.size(); ++x)
    columns[x] = pyramid.Over(bounds[x], bounds[x + 1]);
  return columns;
}

bool TrendTraces::ValueAt(std::size_t trace, double timeMs, float& value) const {
  const auto after = std::upper_bound(times_.begin(), times_.end(), timeMs);
  if (after == times_.begin()) return false;
  value = traces_.at(trace).At(static_cast<std::size_t>(after - times_.begin()) - 1);
  return true;
}

MinMaxPyramid::Extremes TrendTraces::Range(std::size_t trace) const {
  return traces_.at(trace).Over(0, times_.size());
}

void TrendTraces::CompactOlder(std::size_t keepRecent) {
  constexpr std::size_t kBlock = MinMaxPyramid::kFactor;
  const std::size_t older =
      times_.size() > keepRecent ? (times_.size() - keepRecent) / kBlock * kBlock : 0;
  if (older == 0) return;
  std::vector<double> times;
  std::vector<MinMaxPyramid> traces(traces_.size());
  times.reserve(older / 4 + (times_.size() - older));
  for (std::size_t first = 0; first < older; first += kBlock) {
    times.push_back(times_[first]);
    times.push_back(times_[first + kBlock / 2]);
  }
  times.insert(times.end(), times_.begin() + static_cast<std::ptrdiff_t>(older), times_.end());
  for (std::size_t t = 0; t < traces_.size(); ++t) {
    const std::vector<float>& from = traces_[t].Samples();
    for (std::size_t first = 0; first < older; first += kBlock)
      AppendExtremes(traces[t], from.data() + first, kBlock);
    for (std::size_t i = older; i < from.size(); ++i) traces[t].Append(from[i]);
  }
  times_ = std::move(times);
  traces_ = std::move(traces);
}

bool TrendTraces::NeedsDetail(double fromMs, double toMs, int width) const {
  if (block_ == 1 || width <= 0) return false;
  return IndexAt(toMs) - IndexAt(fromMs) < 2 * static_cast<std::size_t>(width);
}

const TrendTraces& TrendTraces::ForSpan(double fromMs, double toMs, int width) const {
  if (detail_ == nullptr || detail_->Samples() == 0 || !NeedsDetail(fromMs, toMs, width)) {
    return *this;
  }
  const double from = std::max(fromMs, FirstMs());
  const double to = std::min(toMs, LastMs());
  return detail_->FirstMs() <= from && detail_->LastMs() >= to ? *detail_ : *this;
}

void TrendTraces::Reserve(std::size_t samples) {
  times_.reserve(times_.size() + samples);
  for (MinMaxPyramid& pyramid : traces_) pyramid.Reserve(pyramid.Size() + samples);
}

void TrendTraces::ShrinkToFit() {
  times_.shrink_to_fit();
  for (MinMaxPyramid& pyramid : traces_) pyramid.ShrinkToFit();
}

std::size_t TrendTraces::MemoryBytes() const {
  std::size_t bytes = times_.capacity() * sizeof(double);
  for (const MinMaxPyramid& pyramid : traces_) bytes += pyramid.MemoryBytes();
  return bytes;
}

}  // namespace tavelin
