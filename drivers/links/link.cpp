#include "link.h"

#include <pthread.h>

#include <algorithm>
#include <iostream>

namespace kvr {

std::string NameOf(const MappedDevice& device) {
  return std::string(device.family == DeviceFamily::UsbIo ? "module" : "probe") + " on channel " +
         std::to_string(device.channel) + " (" + device.text.substr(device.text.find(' ', 6) + 1) +
         ")";
}

Link::Link(LinkAddress address, LatestInputs* modules, LatestInputs* probes)
    : address_(std::move(address)), modules_(modules), probes_(probes) {}

Link::~Link() = default;

LatestInputs& Link::InputsOf(DeviceFamily family) const {
  return family == DeviceFamily::UsbIo ? *modules_ : *probes_;
}

void Link::SetDevices(DeviceFamily family, std::vector<MappedDevice> devices) {
  {
    const std::lock_guard lock(mutex_);
    std::erase_if(wanted_, [&](const MappedDevice& d) { return d.family == family; });
    std::erase_if(states_, [&](const auto& entry) { return entry.first.first == family; });
    for (MappedDevice& device : devices) {
      states_[{family, device.channel}] = {};
      wanted_.push_back(std::move(device));
    }
    ++wantedVersion_;
  }
  changed_.notify_all();
}

void Link::Remove(DeviceFamily family, int channel) {
  {
    const std::lock_guard lock(mutex_);
    std::erase_if(
        wanted_, [&](const MappedDevice& d) { return d.family == family && d.channel == channel; });
    states_.erase({family, channel});
    ++wantedVersion_;
  }
  changed_.notify_all();
}

bool Link::Empty() const {
  const std::lock_guard lock(mutex_);
  return wanted_.empty();
}

void Link::Start() {
  reader_ = std::thread([this] {
    pthread_setname_np(pthread_self(), "kvr-link");
    ReaderLoop();
  });
}

void Link::Stop() {
  {
    const std::lock_guard lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
  if (reader_.joinable()) reader_.join();
}

bool Link::Tried(DeviceFamily family) const {
  const std::lock_guard lock(mutex_);
  return std::all_of(states_.begin(), states_.end(), [&](const auto& entry) {
    return entry.first.first != family || entry.second.tried;
  });
}

LinkState Link::StateOf(DeviceFamily family, int channel) const {
  const std::lock_guard lock(mutex_);
  const auto at = states_.find({family, channel});
  return at != states_.end() ? at->second : LinkState{};
}

void Link::Pause(double ms) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, std::chrono::duration<double, std::milli>(ms),
                    [this] { return stop_ || wantedVersion_ != takenVersion_; });
}

void Link::Publish(const Device& device) {
  const std::lock_guard lock(mutex_);
  const auto at = states_.find({device.map.family, device.map.channel});
  if (at != states_.end()) at->second = device.state;
}

void Link::Answered(Device& device, const LatestInputs::Input& input) {
  InputsOf(device.map.family).Keep(device.map.channel, input);
  answered_ = true;
  if (device.state.answering && device.state.tried) return;
  if (device.state.tried) std::cerr << "kvr: " << NameOf(device.map) << " is back\n";
  device.state = {true, true, {}};
  Publish(device);
}

void Link::Failed(Device& device, const std::string& why) {
  if (!device.state.answering && device.state.tried && device.state.why == why) return;
  InputsOf(device.map.family).Lose(device.map.channel);
  std::cerr << "kvr: " << NameOf(device.map)
            << (device.state.answering ? " is lost: " : " does not answer: ") << why
            << (device.state.answering ? "; its last input stays until it is back\n" : "\n");
  device.state = {true, false, why};
  Publish(device);
}

void Link::FailAll(std::vector<Device>& devices, const std::string& why) {
  for (Device& device : devices) Failed(device, why);
}

// Takes the devices the caller set, keeping what is known of those that
// stay; true when they changed.
bool Link::TakeDevices(std::vector<Device>& devices) {
  std::vector<MappedDevice> wanted;
  {
    const std::lock_guard lock(mutex_);
    if (wantedVersion_ == takenVersion_) return false;
    takenVersion_ = wantedVersion_;
    wanted = wanted_;
  }
  std::vector<Device> next;
  for (MappedDevice& map : wanted) {
    const auto same = std::find_if(devices.begin(), devices.end(), [&](const Device& d) {
      return d.map.family == map.family && d.map.channel == map.channel && d.map.text == map.text;
    });
    next.push_back(same != devices.end() ? *same : Device{std::move(map), {}});
    Publish(next.back());
  }
  for (const Device& gone : devices) {
    const bool kept = std::any_of(next.begin(), next.end(), [&](const Device& d) {
      return d.map.family == gone.map.family && d.map.channel == gone.map.channel;
    });
    if (!kept) InputsOf(gone.map.family).Clear(gone.map.channel);
  }
  devices = std::move(next);
  return true;
}

void Link::ReaderLoop() {
  std::vector<Device> devices;
  bool connected = false;
  double pauseMs = kFirstPauseMs;
  while (!stop_) {
    if (TakeDevices(devices) && connected) Planned(devices);
    if (devices.empty()) {
      Pause(kLongestPauseMs);
      continue;
    }
    std::string why;
    if (!connected) {
      connected = Connect(why);
      if (!connected) {
        FailAll(devices, why);
        Pause(pauseMs);
        pauseMs = std::min(pauseMs * 2, static_cast<double>(kLongestPauseMs));
        continue;
      }
      Planned(devices);
    }
    const bool roundDone = Round(devices, why);
    if (answered_) {
      answered_ = false;
      modules_->Announce();
      probes_->Announce();
    }
    if (roundDone) {
      pauseMs = kFirstPauseMs;
      continue;
    }
    Disconnect();
    connected = false;
    if (stop_) break;
    FailAll(devices, why);
    Pause(pauseMs);
    pauseMs = std::min(pauseMs * 2, static_cast<double>(kLongestPauseMs));
  }
  if (connected) Disconnect();
  for (const Device& device : devices) InputsOf(device.map.family).Clear(device.map.channel);
}

}  // namespace kvr
