#pragma once
#include <array>
#include <atomic>
#include <bitset>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "device_backend.h"
#include "hid_port.h"
#include "hid_protocol.h"
#include "latest_inputs.h"
#include "signal_source.h"

namespace kvr {

// USB HID modules or probes of our protocol (docs/hid-protocol.md), found by
// their usage whatever their vendor and product ids, and known by the
// channel number each one reports.
//
// A reader thread of its own waits on every device at once and keeps each
// device's newest input report; a pass (BeginReads) waits at most a few
// milliseconds for a report newer than the last pass's, so a run is paced
// by the USB frames instead of spinning, and takes the newest input of
// every device without a system call of its own. A device whose read fails
// is lost: it keeps its last input, and once a second the reader looks for
// a device of the same channel and marker and takes it back in its place.
class HidBackend final : public DeviceBackend {
 public:
  using PortSource = const KvrHidPort* (*)(bool sayProblem);
  static constexpr double kLookAgainMs = 1000.0;

  HidBackend(DeviceFamily family, PortSource port);
  // Stops the reader; what is open is left to the end of the process.
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
  void StartReader();
  void StopReader();
  void ReaderLoop();
  int WatchDevices(std::array<void*, 16>& devices, bool& anyLost);
  bool TakeReport(int channel, void* device);
  void LookForLost();

  DeviceFamily family_;
  PortSource portSource_;
  const KvrHidPort* port_ = nullptr;
  int channels_;

  mutable std::mutex mutex_;  // the slots, between the caller and the reader
  std::array<Slot, 16> slots_;
  // Each device's newest input, apart from the slots: a pass copies these
  // few cache lines from the reader's core.
  LatestInputs latest_;

  // The input of the current pass, taken at BeginReads.
  std::array<LatestInputs::Input, LatestInputs::kChannels> taken_{};
  std::bitset<LatestInputs::kChannels> takenLive_;

  std::thread reader_;
  std::atomic<bool> stopReader_{false};
  int wake_[2] = {-1, -1};
  double lastLook_ = 0.0;               // the reader's
  bool watchChanged_ = false;           // the reader's: a device lost or back
  std::set<std::string> refusedPaths_;  // said once, not again at each look
};

}  // namespace kvr
