#include "mapped_backend.h"

#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>

#include "common/device_map.h"
#include "common/latest_inputs.h"
#include "firmata_link.h"
#include "link.h"
#include "modbus_link.h"

namespace kvr {
namespace {

// A search waits this long at most for every device's first answer, so a
// run's first rows already hold what the devices say.
constexpr double kFirstAnswersMs = 3500.0;

// The connections of the process, each made once for all the lines on it.
class Links {
 public:
  static Links& Instance() {
    static Links links;
    return links;
  }

  LatestInputs& InputsOf(DeviceFamily family) {
    return family == DeviceFamily::UsbIo ? modules_ : probes_;
  }

  // Puts one family's devices on their connections; a connection no line
  // names any more is closed.
  void Assign(DeviceFamily family, const std::vector<MappedDevice>& devices) {
    const std::lock_guard lock(mutex_);
    std::map<std::string, std::vector<MappedDevice>> byLink;
    for (const MappedDevice& device : devices) byLink[device.link.Key()].push_back(device);
    for (auto& [key, onIt] : byLink) {
      auto& link = links_[key];
      if (!link) {
        link = Make(onIt.front().link);
        link->SetDevices(family, std::move(onIt));
        link->Start();
      } else {
        link->SetDevices(family, std::move(onIt));
      }
    }
    for (auto at = links_.begin(); at != links_.end();) {
      if (byLink.count(at->first) == 0) at->second->SetDevices(family, {});
      at = at->second->Empty() ? links_.erase(at) : std::next(at);
    }
  }

  void Remove(DeviceFamily family, const MappedDevice& device) {
    const std::lock_guard lock(mutex_);
    const auto at = links_.find(device.link.Key());
    if (at == links_.end()) return;
    at->second->Remove(family, device.channel);
    if (at->second->Empty()) links_.erase(at);
  }

  void WaitForFirstAnswers(DeviceFamily family) {
    const double deadline = SteadyMilliseconds() + kFirstAnswersMs;
    while (SteadyMilliseconds() < deadline) {
      bool all = true;
      {
        const std::lock_guard lock(mutex_);
        for (const auto& [key, link] : links_) all = all && link->Tried(family);
      }
      if (all) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }

  LinkState StateOf(const MappedDevice& device) {
    const std::lock_guard lock(mutex_);
    const auto at = links_.find(device.link.Key());
    return at != links_.end() ? at->second->StateOf(device.family, device.channel) : LinkState{};
  }

 private:
  std::unique_ptr<Link> Make(const LinkAddress& address) {
    if (address.kind == LinkKind::Firmata) return MakeFirmataLink(address, &modules_, &probes_);
    return MakeModbusLink(address, &modules_, &probes_);
  }

  std::mutex mutex_;
  LatestInputs modules_;
  LatestInputs probes_;
  std::map<std::string, std::unique_ptr<Link>> links_;
};

class MappedBackend final : public DeviceBackend {
 public:
  explicit MappedBackend(DeviceFamily family) : family_(family) {}

  // The faults of a map are said once, not again at each search while the
  // map stays as it is.
  void Rescan() override {
    std::ostringstream faults;
    const DeviceMap map = ReadDeviceMap(DeviceMapPath(), family_, faults);
    if (faults.str() != saidFaults_) std::cerr << faults.str();
    saidFaults_ = faults.str();
    devices_ = {};
    std::vector<MappedDevice> mine;
    for (const MappedDevice& device : map.devices) {
      if (device.family != family_) continue;
      devices_.at(static_cast<std::size_t>(device.channel)) = device;
      mine.push_back(device);
    }
    Links::Instance().Assign(family_, mine);
    if (!mine.empty()) Links::Instance().WaitForFirstAnswers(family_);
  }

  bool Present(int channel) const override { return Find(channel) != nullptr; }
  bool Prepared(int channel) const override { return Present(channel); }

  void BeginReads(double waitMs) override {
    Links::Instance().InputsOf(family_).Take(
        std::chrono::microseconds(static_cast<int64_t>(waitMs * 1000)), taken_, live_);
  }

  bool Read(int channel, double, int32_t* out) override {
    if (Find(channel) == nullptr || !live_.test(static_cast<std::size_t>(channel))) return false;
    const auto& input = taken_[static_cast<std::size_t>(channel)];
    std::copy(input.begin(), input.end(), out);
    return true;
  }

  // Nothing to store: a mapped device is always prepared.
  bool WriteSettings(int channel) override { return Present(channel); }

  void Close(int channel) override {
    const MappedDevice* device = Find(channel);
    if (device == nullptr) return;
    Links::Instance().Remove(family_, *device);
    devices_.at(static_cast<std::size_t>(channel)).reset();
  }

  // "modbus-tcp\t127.0.0.1:502 unit 1 discrete 0\tok", the last field
  // "lost: why" for a device that does not answer.
  std::string Describe(int channel) const override {
    const MappedDevice* device = Find(channel);
    if (device == nullptr) return {};
    const std::string& text = device->text;
    const std::size_t kindAt = text.find(' ', 6) + 1;
    const std::size_t placeAt = text.find(' ', kindAt) + 1;
    const LinkState state = Links::Instance().StateOf(*device);
    return text.substr(kindAt, placeAt - 1 - kindAt) + "\t" + text.substr(placeAt) + "\t" +
           (!state.tried      ? "waiting"
            : state.answering ? "ok"
                              : "lost: " + state.why);
  }

 private:
  const MappedDevice* Find(int channel) const {
    if (channel < 0 || channel >= static_cast<int>(devices_.size())) return nullptr;
    const auto& device = devices_[static_cast<std::size_t>(channel)];
    return device ? &*device : nullptr;
  }

  DeviceFamily family_;
  std::array<std::optional<MappedDevice>, LatestInputs::kChannels> devices_;
  std::array<LatestInputs::Input, LatestInputs::kChannels> taken_{};
  std::bitset<LatestInputs::kChannels> live_;
  std::string saidFaults_;
};

}  // namespace
}  // namespace kvr

kvr::DeviceBackend* kvr_links_backend(int family) {
  static kvr::MappedBackend modules(kvr::DeviceFamily::UsbIo);
  static kvr::MappedBackend probes(kvr::DeviceFamily::Probe);
  return family == 0 ? &modules : &probes;
}
