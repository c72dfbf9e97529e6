#pragma once
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace kvr {

constexpr int kProbeInputs = 6;
constexpr int32_t kAnalogFullScale = 4095;  // 12-bit AD counts

// What a simulated device reads. A digital source writes out[0] (0..255),
// an analog source out[0..5] (0..4095). Generated sources follow the clock,
// so a demonstration looks the same however fast the loop spins; scripted
// sources take one step per read, so a test knows each read exactly.
class SignalSource {
 public:
  virtual ~SignalSource() = default;
  virtual void Read(double nowMs, int32_t* out) = 0;
};

using Step = std::array<int32_t, kProbeInputs>;

std::unique_ptr<SignalSource> MakeCounter(double stepMs);
std::unique_ptr<SignalSource> MakeWalkingBit(double stepMs);
// Bit k is a square wave of periodsMs[k]; bits without a period stay 0.
std::unique_ptr<SignalSource> MakeSquareWaves(std::vector<double> periodsMs);
std::unique_ptr<SignalSource> MakeRandomBits(double stepMs, std::uint64_t seed);
std::unique_ptr<SignalSource> MakeConstant(Step values);
// Pin p runs a sixth of a period behind pin p - 1.
std::unique_ptr<SignalSource> MakeSine(double periodMs);
std::unique_ptr<SignalSource> MakeRamp(double periodMs);
std::unique_ptr<SignalSource> MakeNoise(int32_t centre, int32_t spread, std::uint64_t seed);
// One step per read; after the last step the sequence starts again.
std::unique_ptr<SignalSource> MakeScript(std::vector<Step> steps);

}  // namespace kvr
