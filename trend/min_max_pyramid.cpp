#include "trend/min_max_pyramid.h"

#include <algorithm>
#include <limits>

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

// From the finest level up: the ragged ends of the span at each level, the
// whole blocks in between from the level above.
MinMaxPyramid::Extremes MinMaxPyramid::Over(std::size_t first, std::size_t last) const {
  last = std::min(last, samples_.size());
  if (first >= last) return {};
  float lo = std::numeric_limits<float>::infinity();
  float hi = -std::numeric_limits<float>::infinity();
  const float* mins = samples_.data();  // the samples are their own extremes
  const float* maxs = samples_.data();
  const auto scan = [&](std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) {
      lo = std::min(lo, mins[i]);
      hi = std::max(hi, maxs[i]);
    }
  };
  for (std::size_t level = 0;; ++level) {
    const std::size_t upFirst = (first + kFactor - 1) / kFactor;
    const std::size_t upLast = last / kFactor;
    if (level >= levels_.size() || upFirst >= upLast) {
      scan(first, last);
      break;
    }
    scan(first, upFirst * kFactor);
    scan(upLast * kFactor, last);
    mins = levels_[level].min.data();
    maxs = levels_[level].max.data();
    first = upFirst;
    last = upLast;
  }
  return {lo, hi, true};
}

void MinMaxPyramid::Reserve(std::size_t samples) {
  samples_.reserve(samples);
  std::size_t k = 0;
  for (std::size_t blocks = samples / kFactor; blocks > 0; blocks /= kFactor, ++k) {
    if (levels_.size() <= k) levels_.emplace_back();
    levels_[k].min.reserve(blocks);
    levels_[k].max.reserve(blocks);
  }
}

void MinMaxPyramid::ShrinkToFit() {
  samples_.shrink_to_fit();
  for (Level& level : levels_) {
    level.min.shrink_to_fit();
    level.max.shrink_to_fit();
  }
}

std::size_t MinMaxPyramid::MemoryBytes() const {
  std::size_t bytes = samples_.capacity() * sizeof(float);
  for (const Level& level : levels_) {
    bytes += (level.min.capacity() + level.max.capacity()) * sizeof(float);
  }
  return bytes;
}

}  // namespace tavelin
