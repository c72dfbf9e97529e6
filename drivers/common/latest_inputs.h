#pragma once
#include <array>
#include <bitset>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "signal_source.h"

namespace kvr {

// Each device's newest input, kept by reader threads for the sampling pass:
// a pass waits a little for input newer than the last pass's and takes the
// newest of every device, without a system call of its own.
class LatestInputs {
 public:
  using Input = std::array<int32_t, kProbeInputs>;
  static constexpr int kChannels = 16;

  // Input of a device that answers; a pass waiting sees it at Announce.
  void Keep(int channel, const Input& input) {
    const std::lock_guard lock(mutex_);
    inputs_.at(static_cast<std::size_t>(channel)) = input;
    live_.set(static_cast<std::size_t>(channel));
  }
  // Wakes a waiting pass once for everything kept since: a reader that
  // took several devices' input at once wakes the pass once.
  void Announce() {
    {
      const std::lock_guard lock(mutex_);
      fresh_ = true;
    }
    freshInput_.notify_one();
  }
  // A device that stopped answering keeps its last input.
  void Lose(int channel) {
    const std::lock_guard lock(mutex_);
    live_.reset(static_cast<std::size_t>(channel));
  }
  // A device back answers again, from its last input on.
  void Revive(int channel) {
    const std::lock_guard lock(mutex_);
    live_.set(static_cast<std::size_t>(channel));
  }
  // A device closed: nothing kept.
  void Clear(int channel) {
    const std::lock_guard lock(mutex_);
    inputs_.at(static_cast<std::size_t>(channel)) = {};
    live_.reset(static_cast<std::size_t>(channel));
  }
  // Waits at most `wait` for input put after the last take, then copies
  // every device's input and which devices answer.
  void Take(std::chrono::microseconds wait, std::array<Input, kChannels>& inputs,
            std::bitset<kChannels>& live) {
    std::unique_lock lock(mutex_);
    if (wait.count() > 0) freshInput_.wait_for(lock, wait, [this] { return fresh_; });
    fresh_ = false;
    inputs = inputs_;
    live = live_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable freshInput_;
  bool fresh_ = false;
  std::array<Input, kChannels> inputs_{};
  std::bitset<kChannels> live_;
};

}  // namespace kvr
