#include "hid_backend.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <iostream>

namespace kvr {
namespace {

constexpr int kMostReportsADrain = 256;  // a flooding device cannot hold the reader

std::string Quoted(const std::string& path) {
  return "\"" + path + "\"";
}

}  // namespace

HidBackend::HidBackend(DeviceFamily family, PortSource port)
    : family_(family), portSource_(port), channels_(hid::ChannelsOf(family)) {
  if (pipe2(wake_, O_CLOEXEC | O_NONBLOCK) != 0) wake_[0] = wake_[1] = -1;
}

HidBackend::~HidBackend() {
  StopReader();
  if (wake_[0] >= 0) {
    ::close(wake_[0]);
    ::close(wake_[1]);
  }
}

const char* HidBackend::Noun() const {
  return family_ == DeviceFamily::UsbIo ? "module" : "probe";
}

std::vector<std::string> HidBackend::OurPaths() const {
  struct Look {
    uint16_t usage;
    std::vector<std::string> paths;
  } look{hid::UsageOf(family_), {}};
  port_->enumerate(
      [](void* context, const KvrHidDeviceInfo* device) {
        auto* l = static_cast<Look*>(context);
        if (device->usage_page != hid::kUsagePage || device->usage != l->usage) return;
        const std::string path = device->path != nullptr ? device->path : "";
        if (std::find(l->paths.begin(), l->paths.end(), path) == l->paths.end()) {
          l->paths.push_back(path);
        }
      },
      &look);
  return look.paths;
}

HidBackend::Identified HidBackend::OpenIdentified(const std::string& path, bool quiet) {
  const auto refuse = [&](const std::string& why) {
    if (!quiet || refusedPaths_.insert(path).second) {
      std::cerr << "kvr: " << Noun() << " " << Quoted(path) << " left out: " << why << "\n";
    }
  };
  void* device = port_->open(path.c_str());
  if (device == nullptr) {
    refuse("it cannot be opened (see the README on access to USB devices)");
    return {};
  }
  uint8_t report[hid::kLongestReport] = {hid::kIdentityReport};
  const int bytes = port_->get_feature(device, report, sizeof report);
  const hid::IdentityReading reading = hid::ReadIdentity(
      std::span<const uint8_t>(report, bytes > 0 ? static_cast<std::size_t>(bytes) : 0), family_);
  if (!reading.identity) {
    refuse(reading.problem);
    port_->close(device);
    return {};
  }
  return {device, *reading.identity};
}

void HidBackend::CloseAll() {
  const std::lock_guard lock(mutex_);
  for (Slot& slot : slots_) {
    if (slot.device != nullptr) port_->close(slot.device);
    slot = Slot{};
  }
}

void HidBackend::Rescan() {
  StopReader();
  CloseAll();
  refusedPaths_.clear();
  port_ = portSource_();
  if (port_ == nullptr) return;
  for (const std::string& path : OurPaths()) {
    const Identified found = OpenIdentified(path, false);
    if (found.device == nullptr) continue;
    const std::lock_guard lock(mutex_);
    Slot& slot = slots_[static_cast<std::size_t>(found.identity.channel)];
    if (slot.device != nullptr) {
      std::cerr << "kvr: two " << Noun() << "s claim channel " << found.identity.channel << ": "
                << Quoted(slot.path) << " is used, " << Quoted(path) << " left out\n";
      port_->close(found.device);
      continue;
    }
    slot.device = found.device;
    slot.path = path;
    slot.marker = found.identity.marker;
  }
}

bool HidBackend::Present(int channel) const {
  if (channel < 0 || channel >= channels_) return false;
  const std::lock_guard lock(mutex_);
  return slots_[static_cast<std::size_t>(channel)].device != nullptr;
}

bool HidBackend::Prepared(int channel) const {
  if (channel < 0 || channel >= channels_) return false;
  const std::lock_guard lock(mutex_);
  const Slot& slot = slots_[static_cast<std::size_t>(channel)];
  return slot.device != nullptr && slot.marker == hid::kPreparedMarker;
}

std::string HidBackend::Describe(int channel) const {
  if (channel < 0 || channel >= channels_ || port_ == nullptr) return {};
  const std::lock_guard lock(mutex_);
  const Slot& slot = slots_[static_cast<std::size_t>(channel)];
  if (slot.device == nullptr && !slot.lost) return {};
  return std::string(port_->name) + "\t" + slot.path;
}

void HidBackend::BeginReads() {
  if (!reader_.joinable()) {
    bool any = false;
    {
      const std::lock_guard lock(mutex_);
      for (const Slot& slot : slots_) any = any || slot.device != nullptr || slot.lost;
    }
    if (!any) return;
    StartReader();
  }
  std::unique_lock lock(mutex_);
  freshInput_.wait_for(lock, std::chrono::milliseconds(kWaitForInputMs), [this] { return fresh_; });
  fresh_ = false;
  for (std::size_t c = 0; c < slots_.size(); ++c) {
    taken_[c] = slots_[c].input;
    takenLive_[c] = slots_[c].device != nullptr;
  }
}

bool HidBackend::Read(int channel, double /*nowMs*/, int32_t* out) {
  if (channel < 0 || channel >= channels_ || !takenLive_[static_cast<std::size_t>(channel)]) {
    return false;  // a device lost keeps its last input
  }
  const auto& input = taken_[static_cast<std::size_t>(channel)];
  std::copy(input.begin(), input.end(), out);
  return true;
}

bool HidBackend::WriteSettings(int channel) {
  if (channel < 0 || channel >= channels_ || port_ == nullptr) return false;
  const std::lock_guard lock(mutex_);
  Slot& slot = slots_[static_cast<std::size_t>(channel)];
  if (slot.device == nullptr) return false;
  const auto store = hid::StoreMarker(hid::kPreparedMarker);
  if (port_->send_feature(slot.device, store.data(), store.size()) < 0) return false;
  // Taken only when the module says so itself.
  uint8_t report[hid::kLongestReport] = {hid::kIdentityReport};
  const int bytes = port_->get_feature(slot.device, report, sizeof report);
  const hid::IdentityReading reading = hid::ReadIdentity(
      std::span<const uint8_t>(report, bytes > 0 ? static_cast<std::size_t>(bytes) : 0), family_);
  if (!reading.identity || reading.identity->channel != channel ||
      reading.identity->marker != hid::kPreparedMarker) {
    return false;
  }
  slot.marker = hid::kPreparedMarker;
  return true;
}

void HidBackend::Close(int channel) {
  if (channel < 0 || channel >= channels_) return;
  StopReader();
  const std::lock_guard lock(mutex_);
  Slot& slot = slots_[static_cast<std::size_t>(channel)];
  if (slot.device != nullptr && port_ != nullptr) port_->close(slot.device);
  slot = Slot{};
}

// ---- the reader ----

void HidBackend::StartReader() {
  stopReader_ = false;
  lastLook_ = SteadyMilliseconds();
  reader_ = std::thread([this] { ReaderLoop(); });
}

void HidBackend::StopReader() {
  if (!reader_.joinable()) return;
  stopReader_ = true;
  [[maybe_unused]] const ssize_t woken = ::write(wake_[1], "x", 1);
  reader_.join();
  char bytes[16];
  while (::read(wake_[0], bytes, sizeof bytes) > 0) {
  }
}

void HidBackend::ReaderLoop() {
  std::vector<pollfd> fds;
  std::vector<int> channels;
  std::vector<void*> devices;
  while (!stopReader_) {
    fds.assign(1, pollfd{wake_[0], POLLIN, 0});
    channels.clear();
    devices.clear();
    bool anyLost = false;
    {
      const std::lock_guard lock(mutex_);
      for (int c = 0; c < channels_; ++c) {
        const Slot& slot = slots_[static_cast<std::size_t>(c)];
        if (slot.device != nullptr) {
          fds.push_back(pollfd{port_->input_fd(slot.device), POLLIN, 0});
          channels.push_back(c);
          devices.push_back(slot.device);
        }
        anyLost = anyLost || slot.lost;
      }
    }
    int timeout = -1;
    if (anyLost) {
      timeout = std::max(0, static_cast<int>(lastLook_ + kLookAgainMs - SteadyMilliseconds()));
    }
    if (::poll(fds.data(), fds.size(), timeout) < 0 && errno != EINTR) break;
    if (stopReader_) break;
    bool fresh = false;
    for (std::size_t i = 1; i < fds.size(); ++i) {
      if (fds[i].revents != 0) fresh = Drain(channels[i - 1], devices[i - 1]) || fresh;
    }
    if (fresh) {
      {
        const std::lock_guard lock(mutex_);
        fresh_ = true;
      }
      freshInput_.notify_one();
    }
    if (anyLost && SteadyMilliseconds() - lastLook_ >= kLookAgainMs) {
      LookForLost();
      lastLook_ = SteadyMilliseconds();
    }
  }
}

// Every report queued on a device, keeping the newest; true when it gave
// a good one.
bool HidBackend::Drain(int channel, void* device) {
  uint8_t report[hid::kLongestReport];
  uint8_t newest[hid::kLongestReport];
  std::size_t newestBytes = 0;
  bool gone = false;
  for (int n = 0; n < kMostReportsADrain; ++n) {
    const int bytes = port_->read_input(device, report, sizeof report);
    if (bytes <= 0) {
      gone = bytes < 0;
      break;
    }
    newestBytes = std::min(static_cast<std::size_t>(bytes), sizeof newest);
    std::memcpy(newest, report, newestBytes);
  }
  bool fresh = false;
  std::unique_lock lock(mutex_);
  Slot& slot = slots_[static_cast<std::size_t>(channel)];
  if (newestBytes > 0) {
    int32_t values[kProbeInputs] = {};
    if (hid::ReadInput(std::span<const uint8_t>(newest, newestBytes), family_, values)) {
      std::copy(values, values + kProbeInputs, slot.input.begin());
      fresh = true;
    } else if (!slot.garbledSaid) {
      slot.garbledSaid = true;
      std::cerr << "kvr: " << Noun() << " on channel " << channel << " (" << Quoted(slot.path)
                << ") sent a report of " << newestBytes
                << " bytes that is not ours; such reports are left out\n";
    }
  }
  if (gone) {
    slot.device = nullptr;
    slot.lost = true;
    const std::string path = slot.path;
    lock.unlock();
    port_->close(device);
    lastLook_ = SteadyMilliseconds();
    std::cerr << "kvr: " << Noun() << " on channel " << channel << " (" << Quoted(path)
              << ") is lost; its last input stays until it is back\n";
  }
  return fresh;
}

void HidBackend::LookForLost() {
  std::vector<std::string> inUse;
  {
    const std::lock_guard lock(mutex_);
    for (const Slot& slot : slots_) {
      if (slot.device != nullptr) inUse.push_back(slot.path);
    }
  }
  for (const std::string& path : OurPaths()) {
    if (std::find(inUse.begin(), inUse.end(), path) != inUse.end()) continue;
    const Identified found = OpenIdentified(path, true);
    if (found.device == nullptr) continue;
    std::unique_lock lock(mutex_);
    Slot& slot = slots_[static_cast<std::size_t>(found.identity.channel)];
    if (!slot.lost || slot.marker != found.identity.marker) {
      lock.unlock();
      port_->close(found.device);
      continue;
    }
    slot.device = found.device;
    slot.path = path;
    slot.lost = false;
    slot.garbledSaid = false;
    lock.unlock();
    std::cerr << "kvr: " << Noun() << " on channel " << found.identity.channel << " is back ("
              << Quoted(path) << ")\n";
  }
}

}  // namespace kvr
