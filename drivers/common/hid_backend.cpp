#include "hid_backend.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <iostream>

namespace kvr {
namespace {

constexpr uint32_t kWakeTag = 0xFFFF;  // the wake pipe's mark in the epoll set

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

hid::IdentityReading HidBackend::AskIdentity(void* device) const {
  uint8_t report[hid::kLongestReport] = {hid::kIdentityReport};
  const int bytes = port_->get_feature(device, report, sizeof report);
  return hid::ReadIdentity(
      std::span<const uint8_t>(report, bytes > 0 ? static_cast<std::size_t>(bytes) : 0), family_);
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
  const hid::IdentityReading reading = AskIdentity(device);
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
  for (int c = 0; c < LatestInputs::kChannels; ++c) latest_.Clear(c);
}

void HidBackend::Rescan() {
  StopReader();
  CloseAll();
  refusedPaths_.clear();
  port_ = portSource_(family_ == DeviceFamily::UsbIo);
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
    latest_.Keep(found.identity.channel, {});
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

void HidBackend::BeginReads(double waitMs) {
  if (!reader_.joinable()) {
    bool any = false;
    {
      const std::lock_guard lock(mutex_);
      for (const Slot& slot : slots_) any = any || slot.device != nullptr || slot.lost;
    }
    if (!any) return;
    StartReader();
  }
  latest_.Take(std::chrono::microseconds(static_cast<int64_t>(waitMs * 1000)), taken_, takenLive_);
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
  const hid::IdentityReading reading = AskIdentity(slot.device);
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
  latest_.Clear(channel);
}

// ---- the reader ----

void HidBackend::StartReader() {
  stopReader_ = false;
  lastLook_ = SteadyMilliseconds();
  reader_ = std::thread([this] {
    pthread_setname_np(pthread_self(),
                       family_ == DeviceFamily::UsbIo ? "kvr-hid-modules" : "kvr-hid-probes");
    ReaderLoop();
  });
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

// The devices the reader waits on, and the wake pipe, as an epoll set: each
// registered once, not at every wait. Made anew when one is lost or back.
int HidBackend::WatchDevices(std::array<void*, 16>& devices, bool& anyLost) {
  const int watch = epoll_create1(EPOLL_CLOEXEC);
  if (watch < 0) return -1;
  epoll_event wake{};
  wake.events = EPOLLIN;
  wake.data.u32 = kWakeTag;
  epoll_ctl(watch, EPOLL_CTL_ADD, wake_[0], &wake);
  anyLost = false;
  const std::lock_guard lock(mutex_);
  for (int c = 0; c < channels_; ++c) {
    const Slot& slot = slots_[static_cast<std::size_t>(c)];
    devices[static_cast<std::size_t>(c)] = slot.device;
    anyLost = anyLost || slot.lost;
    if (slot.device == nullptr) continue;
    epoll_event ready{};
    ready.events = EPOLLIN;
    ready.data.u32 = static_cast<uint32_t>(c);
    epoll_ctl(watch, EPOLL_CTL_ADD, port_->input_fd(slot.device), &ready);
  }
  return watch;
}

void HidBackend::ReaderLoop() {
  std::array<void*, 16> devices{};
  std::array<epoll_event, 17> ready{};
  bool anyLost = false;
  int watch = -1;
  watchChanged_ = true;
  while (!stopReader_) {
    if (watchChanged_) {
      watchChanged_ = false;
      if (watch >= 0) ::close(watch);
      watch = WatchDevices(devices, anyLost);
      if (watch < 0) break;
    }
    int timeout = -1;
    if (anyLost) {
      timeout = std::max(0, static_cast<int>(lastLook_ + kLookAgainMs - SteadyMilliseconds()));
    }
    const int count = epoll_wait(watch, ready.data(), static_cast<int>(ready.size()), timeout);
    if (count < 0 && errno != EINTR) break;
    if (stopReader_) break;
    bool fresh = false;
    for (int i = 0; i < count; ++i) {
      const uint32_t channel = ready[static_cast<std::size_t>(i)].data.u32;
      if (channel == kWakeTag) continue;
      fresh = TakeReport(static_cast<int>(channel), devices[channel]) || fresh;
    }
    if (fresh) latest_.Announce();
    if (anyLost && SteadyMilliseconds() - lastLook_ >= kLookAgainMs) {
      LookForLost();
      lastLook_ = SteadyMilliseconds();
    }
  }
  if (watch >= 0) ::close(watch);
}

// One queued report of a device; true when it was a good one. The reader
// takes one report of each ready device a round: a device with more queued
// is ready again at once, so a backlog is drained in a few rounds, no
// device holds the others up, and a device that sent one report costs one
// read, not a second one to learn that nothing more is there.
bool HidBackend::TakeReport(int channel, void* device) {
  uint8_t report[hid::kLongestReport];
  const int bytes = port_->read_input(device, report, sizeof report);
  if (bytes == 0) return false;
  std::unique_lock lock(mutex_);
  Slot& slot = slots_[static_cast<std::size_t>(channel)];
  if (bytes < 0) {
    slot.device = nullptr;
    slot.lost = true;
    latest_.Lose(channel);
    const std::string path = slot.path;
    lock.unlock();
    port_->close(device);
    watchChanged_ = true;
    lastLook_ = SteadyMilliseconds();
    std::cerr << "kvr: " << Noun() << " on channel " << channel << " (" << Quoted(path)
              << ") is lost; its last input stays until it is back\n";
    return false;
  }
  const std::size_t length = std::min(static_cast<std::size_t>(bytes), sizeof report);
  int32_t values[kProbeInputs] = {};
  if (hid::ReadInput(std::span<const uint8_t>(report, length), family_, values)) {
    LatestInputs::Input input;
    std::copy(values, values + kProbeInputs, input.begin());
    latest_.Keep(channel, input);
    return true;
  }
  if (!slot.garbledSaid) {
    slot.garbledSaid = true;
    std::cerr << "kvr: " << Noun() << " on channel " << channel << " (" << Quoted(slot.path)
              << ") sent a report of " << length
              << " bytes that is not ours; such reports are left out\n";
  }
  return false;
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
    latest_.Revive(found.identity.channel);
    slot.garbledSaid = false;
    lock.unlock();
    watchChanged_ = true;
    std::cerr << "kvr: " << Noun() << " on channel " << found.identity.channel << " is back ("
              << Quoted(path) << ")\n";
  }
}

}  // namespace kvr
