#include "device_backend.h"

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace kvr {
namespace {

constexpr int kMaxChannels = 16;

class SimulatedBackend final : public DeviceBackend {
 public:
  explicit SimulatedBackend(DeviceFamily family) : family_(family) {}

  void Rescan() override {
    const char* path = std::getenv(kSimulationVariable);
    SimulationFile file = ReadSimulationFile(path ? path : "", family_, std::cerr);
    readTimeUs_ = file.readTimeUs;
    std::vector<Device> next(kMaxChannels);
    for (auto& line : file.devices) {
      Device& old = devices_[line.channel];
      Device& device = next[line.channel];
      if (old.line.source && old.line.text == line.text) {
        device = std::move(old);  // still plugged in: keeps its place in a script
      } else {
        device.line = std::move(line);
      }
    }
    devices_ = std::move(next);
  }

  bool Present(int channel) const override {
    const Device* device = Find(channel);
    return device != nullptr && !device->Gone();
  }

  // What was written into a module stays with it, also when the file is
  // read again; a module is its line of the file, so another module on the
  // same channel is not prepared.
  bool Prepared(int channel) const override {
    const Device* device = Find(channel);
    return device != nullptr && (device->line.prepared || written_.count(device->line.text) > 0);
  }

  void BeginReads(double) override {
    if (readTimeUs_ > 0) std::this_thread::sleep_for(std::chrono::microseconds(readTimeUs_));
  }

  bool Read(int channel, double nowMs, int32_t* out) override {
    Device* device = Find(channel);
    if (device == nullptr || device->Gone()) return false;
    ++device->reads;
    device->line.source->Read(nowMs, out);
    return true;
  }

  bool WriteSettings(int channel) override {
    if (!Present(channel) || Find(channel)->line.writeFails) return false;
    written_.insert(Find(channel)->line.text);
    return true;
  }

  void Close(int) override {}

  std::string Describe(int channel) const override {
    if (!Present(channel)) return {};
    const char* path = std::getenv(kSimulationVariable);
    return std::string("simulation\t") + (path != nullptr ? path : "");
  }

 private:
  struct Device {
    SimulatedDeviceLine line;
    std::int64_t reads = 0;
    bool Gone() const { return line.vanishAfterReads && reads >= *line.vanishAfterReads; }
  };

  const Device* Find(int channel) const {
    if (channel < 0 || channel >= kMaxChannels || !devices_[channel].line.source) return nullptr;
    return &devices_[channel];
  }
  Device* Find(int channel) {
    return const_cast<Device*>(static_cast<const SimulatedBackend*>(this)->Find(channel));
  }

  DeviceFamily family_;
  std::vector<Device> devices_ = std::vector<Device>(kMaxChannels);
  std::set<std::string> written_;  // lines of modules that took settings
  int readTimeUs_ = 0;
};

}  // namespace

std::unique_ptr<DeviceBackend> MakeSimulatedBackend(DeviceFamily family) {
  return std::make_unique<SimulatedBackend>(family);
}

double CoarseMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return static_cast<double>(now.tv_sec) * 1000.0 + static_cast<double>(now.tv_nsec) / 1e6;
}

double SteadyMilliseconds() {
  using namespace std::chrono;
  return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace kvr
