#include "signal_source.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace kvr {
namespace {

std::uint64_t SplitMix(std::uint64_t x) {
  x += 0x9E3779B97F4A7C15ull;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
  return x ^ (x >> 31);
}

std::int64_t StepIndex(double nowMs, double perStep) {
  return static_cast<std::int64_t>(std::floor(nowMs * perStep));
}

// Fraction 0..1 of the period that pin p has reached; each pin runs a
// sixth of a period behind the one before.
double Phase(double nowMs, double periodMs, int pin) {
  const double turns = (nowMs - periodMs * pin / kProbeInputs) / periodMs;
  return turns - std::floor(turns);
}

class Counter final : public SignalSource {
 public:
  explicit Counter(double stepMs) : perStep_(1.0 / stepMs) {}
  void Read(double nowMs, int32_t* out) override {
    out[0] = static_cast<int32_t>(StepIndex(nowMs, perStep_) & 0xFF);
  }

 private:
  double perStep_;
};

class WalkingBit final : public SignalSource {
 public:
  explicit WalkingBit(double stepMs) : perStep_(1.0 / stepMs) {}
  void Read(double nowMs, int32_t* out) override { out[0] = 1 << (StepIndex(nowMs, perStep_) & 7); }

 private:
  double perStep_;
};

class SquareWaves final : public SignalSource {
 public:
  explicit SquareWaves(std::vector<double> periodsMs) : periodsMs_(std::move(periodsMs)) {}
  void Read(double nowMs, int32_t* out) override {
    int32_t value = 0;
    for (std::size_t k = 0; k < periodsMs_.size() && k < 8; ++k) {
      if (Phase(nowMs, periodsMs_[k], 0) >= 0.5) value |= 1 << k;
    }
    out[0] = value;
  }

 private:
  std::vector<double> periodsMs_;
};

class RandomBits final : public SignalSource {
 public:
  RandomBits(double stepMs, std::uint64_t seed) : perStep_(1.0 / stepMs), seed_(seed) {}
  void Read(double nowMs, int32_t* out) override {
    const auto step = static_cast<std::uint64_t>(StepIndex(nowMs, perStep_));
    out[0] = static_cast<int32_t>(SplitMix(step ^ seed_) & 0xFF);
  }

 private:
  double perStep_;
  std::uint64_t seed_;
};

class Constant final : public SignalSource {
 public:
  explicit Constant(Step values) : values_(values) {}
  void Read(double, int32_t* out) override { std::copy(values_.begin(), values_.end(), out); }

 private:
  Step values_;
};

class Sine final : public SignalSource {
 public:
  explicit Sine(double periodMs) : periodMs_(periodMs) {}
  void Read(double nowMs, int32_t* out) override {
    constexpr double kMid = kAnalogFullScale / 2.0;
    for (int p = 0; p < kProbeInputs; ++p) {
      const double angle = 2.0 * std::numbers::pi * Phase(nowMs, periodMs_, p);
      out[p] = static_cast<int32_t>(std::lround(kMid + kMid * std::sin(angle)));
    }
  }

 private:
  double periodMs_;
};

class Ramp final : public SignalSource {
 public:
  explicit Ramp(double periodMs) : periodMs_(periodMs) {}
  void Read(double nowMs, int32_t* out) override {
    for (int p = 0; p < kProbeInputs; ++p) {
      out[p] = static_cast<int32_t>(Phase(nowMs, periodMs_, p) * (kAnalogFullScale + 1));
    }
  }

 private:
  double periodMs_;
};

class Noise final : public SignalSource {
 public:
  Noise(int32_t centre, int32_t spread, std::uint64_t seed)
      : centre_(centre), spread_(spread), state_(seed) {}
  void Read(double, int32_t* out) override {
    for (int p = 0; p < kProbeInputs; ++p) {
      state_ = SplitMix(state_);
      const auto span = static_cast<std::uint64_t>(2 * spread_ + 1);
      const auto offset = static_cast<int32_t>(state_ % span) - spread_;
      out[p] = std::clamp(centre_ + offset, 0, kAnalogFullScale);
    }
  }

 private:
  int32_t centre_;
  int32_t spread_;
  std::uint64_t state_;
};

class Script final : public SignalSource {
 public:
  explicit Script(std::vector<Step> steps) : steps_(std::move(steps)) {}
  void Read(double, int32_t* out) override {
    const Step& step = steps_[next_];
    std::copy(step.begin(), step.end(), out);
    next_ = (next_ + 1) % steps_.size();
  }

 private:
  std::vector<Step> steps_;
  std::size_t next_ = 0;
};

}  // namespace

std::unique_ptr<SignalSource> MakeCounter(double stepMs) {
  return std::make_unique<Counter>(stepMs);
}
std::unique_ptr<SignalSource> MakeWalkingBit(double stepMs) {
  return std::make_unique<WalkingBit>(stepMs);
}
std::unique_ptr<SignalSource> MakeSquareWaves(std::vector<double> periodsMs) {
  return std::make_unique<SquareWaves>(std::move(periodsMs));
}
std::unique_ptr<SignalSource> MakeRandomBits(double stepMs, std::uint64_t seed) {
  return std::make_unique<RandomBits>(stepMs, seed);
}
std::unique_ptr<SignalSource> MakeConstant(Step values) {
  return std::make_unique<Constant>(values);
}
std::unique_ptr<SignalSource> MakeSine(double periodMs) {
  return std::make_unique<Sine>(periodMs);
}
std::unique_ptr<SignalSource> MakeRamp(double periodMs) {
  return std::make_unique<Ramp>(periodMs);
}
std::unique_ptr<SignalSource> MakeNoise(int32_t centre, int32_t spread, std::uint64_t seed) {
  return std::make_unique<Noise>(centre, spread, seed);
}
std::unique_ptr<SignalSource> MakeScript(std::vector<Step> steps) {
  return std::make_unique<Script>(std::move(steps));
}

}  // namespace kvr
