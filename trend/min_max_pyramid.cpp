#include "trend/min_max_pyramid.h"

#include <algorithm>

namespace tavelin {

void MinMaxPyramid::Append(float value) {
  samples_.push_back(value);
  // A block is complete when the level below completes its kFactor-th entry.
  std::size_t count = samples_.size();
  float min = value;
  float max = value;
  for (std::size_t k = 0; count % kFactor == 0; ++k) {
    const std::size_t first = count - kFactor;
    if (k == 0) {
      const auto [lo, hi] = std::minmax_element(
          samples_.begin() + static_cast<std::ptrdiff_t>(first), samples_.end());
      min = *lo;
      max = *hi;
    } else {
      const Level& below = levels_[k - 1];
      min = *std::min_element(below.min.begin() + static_cast<std::ptrdiff_t>(first),
                              below.min.end());
      max = *std::max_element(below.max.begin() + static_cast<std::ptrdiff_t>(first),
                              below.max.end());
    }
    if (levels_.size() <= k) levels_.emplace_back();
    levels_[k].min.push_back(min);
    levels_[k].max.push_back(max);
    count = levels_[k].min.size();
  }
}

void MinMaxPyramid::Widen(Extremes& e, float min, float max) const {
  if (!e.any) {
    e = {min, max, true};
    return;
  }
  e.min = std::min(e.min, min);
  e.max = std::max(e.max, max);
}

// From the finest level up: the ragged ends of the span at each level, the
// whole blocks in between from the level above.
MinMaxPyramid::Extremes MinMaxPyramid::Over(std::size_t first, std::size_t last) const {
  Extremes e;
  last = std::min(last, samples_.size());
  if (first >= last) return e;
  // Level -1 is the samples themselves.
  const auto minAt = [&](int level, std::size_t i) {
    return level < 0 ? samples_[i] : levels_[static_cast<std::size_t>(level)].min[i];
  };
  const auto maxAt = [&](int level, std::size_t i) {
    return level < 0 ? samples_[i] : levels_[static_cast<std::size_t>(level)].max[i];
  };
  const auto sizeOf = [&](int level) {
    return level < 0 ? samples_.size() : levels_[static_cast<std::size_t>(level)].min.size();
  };
  int level = -1;
  while (first < last) {
    const bool hasAbove = static_cast<std::size_t>(level + 1) < levels_.size();
    const std::size_t upFirst = (first + kFactor - 1) / kFactor;
    const std::size_t upLast = last / kFactor;
    if (!hasAbove || upFirst >= upLast || upLast > sizeOf(level + 1)) {
      for (std::size_t i = first; i < last; ++i) Widen(e, minAt(level, i), maxAt(level, i));
      break;
    }
    for (std::size_t i = first; i < upFirst * kFactor; ++i)
      Widen(e, minAt(level, i), maxAt(level, i));
    for (std::size_t i = upLast * kFactor; i < last; ++i)
      Widen(e, minAt(level, i), maxAt(level, i));
    first = upFirst;
    last = upLast;
    ++level;
  }
  return e;
}

std::size_t MinMaxPyramid::MemoryBytes() const {
  std::size_t bytes = samples_.capacity() * sizeof(float);
  for (const Level& level : levels_) {
    bytes += (level.min.capacity() + level.max.capacity()) * sizeof(float);
  }
  return bytes;
}

}  // namespace tavelin
