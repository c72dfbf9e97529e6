#include "hid_backend.h"

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

// A device with reports queued is ready again at once: a pass takes a few
// more rounds for its newest, bounded so that no device holds a pass up.
constexpr int kDrainRounds = 4;

std::string Quoted(const std::string& path) {
  return "\"" + path + "\"";
}

}  // namespace

HidBackend::HidBackend(DeviceFamily family, PortSource port)
    : family_(family), portSource_(port), channels_(hid::ChannelsOf(family)) {}

HidBackend::~HidBackend() {
  StopLooking();
  if (watch_ >= 0) ::close(watch_);
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
  inputs_ = {};
  live_.reset();
  watchChanged_ = true;
}

void HidBackend::Rescan() {
  StopLooking();
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
  if (watchChanged_.exchange(false)) WatchDevices();
  if (watch_ < 0) return;  // nothing to wait for, lost devices included
  // The wait ends at once when a report came since the last pass.
  int ready = TakeReady(waitMs);
  for (int round = 0; ready > 0 && round < kDrainRounds; ++round) ready = TakeReady(0.0);
}

bool HidBackend::Read(int channel, double /*nowMs*/, int32_t* out) {
  if (channel < 0 || channel >= channels_ || !live_[static_cast<std::size_t>(channel)]) {
    return false;  // a device lost keeps its last input
  }
  const auto& input = inputs_[static_cast<std::size_t>(channel)];
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
  const std::lock_guard lock(mutex_);
  Slot& slot = slots_[static_cast<std::size_t>(channel)];
  if (slot.device != nullptr && port_ != nullptr) port_->close(slot.device);
  slot = Slot{};
  inputs_[static_cast<std::size_t>(channel)] = {};
  live_.reset(static_cast<std::size_t>(channel));
  watchChanged_ = true;
}

// ---- the pass's reads ----

// The devices open now as an epoll set, each registered once, not at every
// wait; none when there is nothing to wait for, lost devices included.
void HidBackend::WatchDevices() {
  if (watch_ >= 0) ::close(watch_);
  watch_ = -1;
  const std::lock_guard lock(mutex_);
  bool any = false;
  for (int c = 0; c < channels_; ++c) {
    const Slot& slot = slots_[static_cast<std::size_t>(c)];
    watched_[static_cast<std::size_t>(c)] = slot.device;
    live_[static_cast<std::size_t>(c)] = slot.device != nullptr;
    any = any || slot.device != nullptr || slot.lost;
  }
  if (!any) return;
  watch_ = epoll_create1(EPOLL_CLOEXEC);
  for (int c = 0; watch_ >= 0 && c < channels_; ++c) {
    void* device = watched_[static_cast<std::size_t>(c)];
    if (device == nullptr) continue;
    epoll_event ready{};
    ready.events = EPOLLIN;
    ready.data.u32 = static_cast<uint32_t>(c);
    epoll_ctl(watch_, EPOLL_CTL_ADD, port_->input_fd(device), &ready);
  }
}

// One wait of at most `waitMs` on the set, then one report of each device
// ready; how many were ready.
int HidBackend::TakeReady(double waitMs) {
  std::array<epoll_event, 16> ready{};
  const auto wait = static_cast<int64_t>(waitMs * 1e6);
  const timespec timeout{static_cast<time_t>(wait / 1000000000),
                         static_cast<long>(wait % 1000000000)};
  const int count =
      epoll_pwait2(watch_, ready.data(), static_cast<int>(ready.size()), &timeout, nullptr);
  for (int i = 0; i < count; ++i)
    TakeReport(static_cast<int>(ready[static_cast<std::size_t>(i)].data.u32));
  return std::max(count, 0);
}

// One queued report of a device. One a round:
// a device that sent one report costs one read, not a second one to learn
// that nothing more is there.
void HidBackend::TakeReport(int channel) {
  void* device = watched_[static_cast<std::size_t>(channel)];
  if (device == nullptr) return;
  uint8_t report[hid::kLongestReport];
  const int bytes = port_->read_input(device, report, sizeof report);
  if (bytes == 0) return;
  if (bytes < 0) {
    Lose(channel);
    return;
  }
  const std::size_t length = std::min(static_cast<std::size_t>(bytes), sizeof report);
  if (hid::ReadInput(std::span<const uint8_t>(report, length), family_,
                     inputs_[static_cast<std::size_t>(channel)].data())) {
    return;
  }
  const std::lock_guard lock(mutex_);
  Slot& slot = slots_[static_cast<std::size_t>(channel)];
  if (!slot.garbledSaid) {
    slot.garbledSaid = true;
    std::cerr << "kvr: " << Noun() << " on channel " << channel << " (" << Quoted(slot.path)
              << ") sent a report of " << length
              << " bytes that is not ours; such reports are left out\n";
  }
}

// A device whose read failed: closed, its last input kept, and looked for.
void HidBackend::Lose(int channel) {
  void* device = watched_[static_cast<std::size_t>(channel)];
  watched_[static_cast<std::size_t>(channel)] = nullptr;
  live_.reset(static_cast<std::size_t>(channel));
  watchChanged_ = true;
  std::string path;
  bool start = false;
  {
    const std::lock_guard lock(mutex_);
    Slot& slot = slots_[static_cast<std::size_t>(channel)];
    slot.device = nullptr;
    slot.lost = true;
    path = slot.path;
    start = !looking_;
    looking_ = true;
  }
  port_->close(device);
  std::cerr << "kvr: " << Noun() << " on channel " << channel << " (" << Quoted(path)
            << ") is lost; its last input stays until it is back\n";
  if (start) StartLooking();
}

// ---- the looker, while a device is lost ----

void HidBackend::StartLooking() {
  if (looker_.joinable()) looker_.join();  // one that has found everything
  looker_ = std::thread([this] {
    pthread_setname_np(pthread_self(), "kvr-hid-lost");
    std::unique_lock lock(mutex_);
    while (!stopLooking_) {
      lookWake_.wait_for(lock, std::chrono::duration<double, std::milli>(kLookAgainMs),
                         [this] { return stopLooking_; });
      if (stopLooking_) break;
      lock.unlock();
      LookForLost();
      lock.lock();
      if (std::none_of(slots_.begin(), slots_.end(), [](const Slot& s) { return s.lost; })) break;
    }
    looking_ = false;
  });
}

void HidBackend::StopLooking() {
  {
    const std::lock_guard lock(mutex_);
    stopLooking_ = true;
  }
  lookWake_.notify_all();
  if (looker_.joinable()) looker_.join();
  const std::lock_guard lock(mutex_);
  stopLooking_ = false;
  looking_ = false;
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
    watchChanged_ = true;
    std::cerr << "kvr: " << Noun() << " on channel " << found.identity.channel << " is back ("
              << Quoted(path) << ")\n";
  }
}

}  // namespace kvr
