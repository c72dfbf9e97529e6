#pragma once
#include <array>
#include <atomic>
#include <bitset>
#include <condition_variable>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "device_backend.h"
#include "hid_port.h"
#include "hid_protocol.h"
#include "signal_source.h"

namespace kvr {

// USB HID modules or probes of our protocol (docs/hid-protocol.md), found by
// their usage whatever their vendor and product ids, and known by the
// channel number each one reports.
//
// The sampling pass reads the devices itself: BeginReads waits on all of
// them at once (an epoll set) at most a few milliseconds for a report newer
// than the last pass's, so a run is paced by the USB frames instead of
// spinning, and no second thread wakes for every report. A device whose
// read fails is lost: it keeps its last input, and while any is lost a
// thread of its own looks once a second for a device of the same channel
// and marker and puts it back in its place for the next pass.
class HidBackend final : public DeviceBackend {
 public:
  using PortSource = const KvrHidPort* (*)(bool sayProblem);
  static constexpr double kLookAgainMs = 1000.0;

  HidBackend(DeviceFamily family, PortSource port);
  // Stops the search for lost devices; what is open is left to the end of
  // the process.
  ~HidBackend() override;
  HidBackend(const HidBackend&) = delete;
  HidBackend& operator=(const HidBackend&) = delete;

  void Rescan() override;
  bool Present(int channel) const override;
  bool Prepared(int channel) const override;
  void BeginReads(double waitMs) override;
  bool Read(int channel, double nowMs, int32_t* out) override;
  bool WriteSettings(int channel) override;
  void Close(int channel) override;
  std::string Describe(int channel) const override;

 private:
  struct Slot {
    void* device = nullptr;  // the port's handle, null when none is open
    std::string path;
    int marker = 0;
    bool lost = false;  // unplugged during a run: looked for again
    bool garbledSaid = false;
  };
  struct Identified {
    void* device = nullptr;
    hid::Identity identity;
  };

  std::vector<std::string> OurPaths() const;
  hid::IdentityReading AskIdentity(void* device) const;
  Identified OpenIdentified(const std::string& path, bool quiet);
  const char* Noun() const;
  void CloseAll();
  void WatchDevices();
  int TakeReady(double waitMs);
  void TakeReport(int channel);
  void Lose(int channel);
  void StartLooking();
  void StopLooking();
  void LookForLost();

  DeviceFamily family_;
  PortSource portSource_;
  const KvrHidPort* port_ = nullptr;
  int channels_;

  mutable std::mutex mutex_;  // the slots, between the pass and the looker
  std::array<Slot, 16> slots_;

  // The pass's: its epoll set, the devices in it, and each device's newest
  // input. A device the looker puts back makes the set anew.
  int watch_ = -1;
  std::array<void*, 16> watched_{};
  std::atomic<bool> watchChanged_{true};
  std::array<std::array<int32_t, kProbeInputs>, 16> inputs_{};
  std::bitset<16> live_;

  std::thread looker_;
  std::condition_variable lookWake_;    // with mutex_
  bool looking_ = false;                // mutex_'s
  bool stopLooking_ = false;            // mutex_'s
  std::set<std::string> refusedPaths_;  // said once, not again at each look
};

}  // namespace kvr
