#pragma once
#include <cstddef>
#include <vector>

namespace tavelin {

// One trace's samples and their minimum and maximum over blocks of 8, 64,
// 512, ... samples: the true minimum and maximum of any span of samples in
// a few dozen steps, so a pixel column over a million samples shows the
// one sample that differs from the rest.
class MinMaxPyramid {
 public:
  static constexpr std::size_t kFactor = 8;

  struct Extremes {
    float min = 0.0f;
    float max = 0.0f;
    bool any = false;
  };

  void Append(float value);
  std::size_t Size() const { return samples_.size(); }
  float At(std::size_t index) const { return samples_.at(index); }
  const std::vector<float>& Samples() const { return samples_; }
  // The extremes of samples [first, last); none for an empty span.
  Extremes Over(std::size_t first, std::size_t last) const;
  std::size_t Levels() const { return levels_.size(); }
  std::size_t MemoryBytes() const;
  // Room for `samples` samples and their levels, so that growing to them
  // never holds twice their memory; ShrinkToFit gives back what was left.
  void Reserve(std::size_t samples);
  void ShrinkToFit();

 private:
  struct Level {
    std::vector<float> min;
    std::vector<float> max;
  };
  std::vector<float> samples_;
  std::vector<Level> levels_;  // levels_[k]: blocks of kFactor^(k+1) samples
};

}  // namespace tavelin
