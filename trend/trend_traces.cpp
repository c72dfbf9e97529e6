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

std::vector<MinMaxPyramid::Extremes> TrendTraces::Columns(std::size_t trace, double fromMs,
                                                          double toMs, int width) const {
  const MinMaxPyramid& pyramid = traces_.at(trace);
  std::vector<MinMaxPyramid::Extremes> columns(static_cast<std::size_t>(std::max(width, 0)));
  if (width <= 0 || !(toMs > fromMs)) return columns;
  const double step = (toMs - fromMs) / width;
  std::size_t first = IndexAt(fromMs);
  for (int x = 0; x < width; ++x) {
    const std::size_t last = IndexAt(fromMs + step * (x + 1));
    columns[static_cast<std::size_t>(x)] = pyramid.Over(first, last);
    first = last;
  }
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

std::size_t TrendTraces::MemoryBytes() const {
  std::size_t bytes = times_.capacity() * sizeof(double);
  for (const MinMaxPyramid& pyramid : traces_) bytes += pyramid.MemoryBytes();
  return bytes;
}

}  // namespace tavelin
