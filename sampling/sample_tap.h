#pragma once
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace tavelin {

class USB_IO_IF;
class KVR_USB_Probe;

// One sample of every recognised input, as a pass read it.
struct TapSample {
  double timeMs = 0.0;   // since the run's start
  uint32_t run = 0;      // counts the runs: a new one starts the trend anew
  int32_t mode = 0;      // the display mode of the run
  uint16_t modules = 0;  // which channels hold a module
  uint8_t probes = 0;    // which probes were found
  std::array<uint8_t, 16> bits{};
  std::array<double, 16> values{};  // mode 3: each channel's value
  std::array<double, 48> pins{};    // mode 4: each pin's value
};
// The ring holds them in zeroed memory, made without a constructor.
static_assert(std::is_aggregate_v<TapSample> && std::is_trivially_destructible_v<TapSample>);

// The engine's hand-off of samples to a consumer that reads at its own
// pace (the trend window, every 30 ms): at most one sample a millisecond,
// whatever the loop's speed, into a ring that one reader drains. With no
// reader the pass pays one atomic load; a full ring drops the newest
// samples and counts them, never making the pass wait.
class SampleTap {
 public:
  static constexpr std::size_t kCapacity = 8192;  // 8 s at 1 kHz
  static constexpr double kShortestStepMs = 1.0;

  void Attach() { attached_.store(true, std::memory_order_release); }
  void Detach() { attached_.store(false, std::memory_order_release); }
  bool Attached() const { return attached_.load(std::memory_order_relaxed); }

  // The engine's side, once a pass.
  void StartRun(int32_t mode) {
    ++run_;
    mode_ = mode;
    lastMs_ = -kShortestStepMs;
  }
  void Offer(double timeMs, const USB_IO_IF& io, const KVR_USB_Probe* probes) {
    if (!Attached() || timeMs - lastMs_ < kShortestStepMs) return;
    lastMs_ = timeMs;
    Put(timeMs, io, probes);
  }

  // The reader's side: the samples put since the last take, oldest first.
  template <typename Each>
  std::size_t Take(Each&& each) {
    const std::size_t head = head_.load(std::memory_order_acquire);
    std::size_t tail = tail_.load(std::memory_order_relaxed);
    const std::size_t taken = head - tail;
    for (; tail != head; ++tail) each(static_cast<const TapSample&>(ring_[tail % kCapacity]));
    tail_.store(tail, std::memory_order_release);
    return taken;
  }
  uint64_t Dropped() const { return dropped_.load(std::memory_order_relaxed); }

 private:
  void Put(double timeMs, const USB_IO_IF& io, const KVR_USB_Probe* probes);

  std::atomic<bool> attached_{false};
  // calloc: pages the system hands out zeroed (a zeroed TapSample is a
  // default one) and maps only once written, so a start without a reader
  // does not pay for 4.6 MB.
  struct Free {
    void operator()(TapSample* ring) const { std::free(ring); }
  };
  static TapSample* ZeroedRing();
  std::unique_ptr<TapSample[], Free> ring_{ZeroedRing()};
  std::atomic<std::size_t> head_{0};  // written by the engine
  std::atomic<std::size_t> tail_{0};  // written by the reader
  std::atomic<uint64_t> dropped_{0};
  uint32_t run_ = 0;
  int32_t mode_ = 0;
  double lastMs_ = 0.0;
};

}  // namespace tavelin
