#include "trend/trend_traces.h"

#include <algorithm>
#include <stdexcept>

namespace tavelin {

TrendTraces::TrendTraces(const LogTable& table) {
  SetLabels(table.labels);
  times_ = table.times;
  for (std::size_t c = 0; c < table.columns.size(); ++c) {
    for (const float value : table.columns[c]) traces_[c].Append(value);
  }
}

void TrendTraces::SetLabels(std::vector<std::string> labels) {
  labels_ = std::move(labels);
  times_.clear();
  traces_.assign(labels_.size(), MinMaxPyramid{});
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

std::vector<std::size_t> TrendTraces::ColumnBounds(double fromMs, double toMs, int width) const {
  std::vector<std::size_t> bounds;
  if (width <= 0 || !(toMs > fromMs)) return bounds;
  const double step = (toMs - fromMs) / width;
  bounds.reserve(static_cast<std::size_t>(width) + 1);
  for (int x = 0; x <= width; ++x) bounds.push_back(IndexAt(fromMs + step * x));
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
    const MinMaxPyramid& from = traces_[t];
    for (std::size_t first = 0; first < older; first += kBlock) {
      std::size_t low = first, high = first;
      for (std::size_t i = first; i < first + kBlock; ++i) {
        if (from.At(i) < from.At(low)) low = i;
        if (from.At(i) > from.At(high)) high = i;
      }
      traces[t].Append(from.At(std::min(low, high)));
      traces[t].Append(from.At(std::max(low, high)));
    }
    for (std::size_t i = older; i < from.Size(); ++i) traces[t].Append(from.At(i));
  }
  times_ = std::move(times);
  traces_ = std::move(traces);
}

std::size_t TrendTraces::MemoryBytes() const {
  std::size_t bytes = times_.capacity() * sizeof(double);
  for (const MinMaxPyramid& pyramid : traces_) bytes += pyramid.MemoryBytes();
  return bytes;
}

}  // namespace tavelin
