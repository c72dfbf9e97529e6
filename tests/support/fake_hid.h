#pragma once
// The fake USB HID devices of the library that KVR_HID_PORT names (the
// tests' environment sets it): plugged, fed and pulled out by a test, while
// the device libraries use them as real ones.
#include <dlfcn.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/hid_protocol.h"
#include "fakes/fake_hid_control.h"

namespace tavelin::test {

class FakeHid {
 public:
  FakeHid() {
    const char* port = std::getenv("KVR_HID_PORT");
    if (port == nullptr) throw std::runtime_error("KVR_HID_PORT names no fake HID port");
    library_ = dlopen(port, RTLD_NOW);
    if (library_ == nullptr) throw std::runtime_error(dlerror());
    Resolve("fake_hid_reset", reset_);
    Resolve("fake_hid_plug", plug_);
    Resolve("fake_hid_unplug", unplug_);
    Resolve("fake_hid_send", send_);
    Resolve("fake_hid_fail_writes", failWrites_);
    Resolve("fake_hid_open_handles", openHandles_);
    unsetenv("KVR_SIMULATION");
    reset_();
  }
  ~FakeHid() {
    reset_();
    dlclose(library_);
  }
  FakeHid(const FakeHid&) = delete;
  FakeHid& operator=(const FakeHid&) = delete;

  // A device of our protocol, with its identity feature report.
  void Module(const std::string& path, int channel, int marker = kvr::hid::kPreparedMarker,
              int version = kvr::hid::kProtocolVersion) {
    Plug(path, kvr::hid::kModuleUsage,
         {kvr::hid::kIdentityReport, uint8_t(version), uint8_t(channel), uint8_t(marker)});
  }
  void Probe(const std::string& path, int channel, int marker = kvr::hid::kProbeMarker) {
    Plug(
        path, kvr::hid::kProbeUsage,
        {kvr::hid::kIdentityReport, kvr::hid::kProtocolVersion, uint8_t(channel), uint8_t(marker)});
  }
  void Plug(const std::string& path, uint16_t usage, const std::vector<uint8_t>& identity,
            uint16_t page = kvr::hid::kUsagePage) {
    plug_(path.c_str(), page, usage, identity.data(), identity.size());
  }
  void Unplug(const std::string& path) { unplug_(path.c_str()); }
  // Every device gone, as at the start.
  void Reset() { reset_(); }
  int Send(const std::string& path, const std::vector<uint8_t>& report) {
    return send_(path.c_str(), report.data(), report.size());
  }
  // A module's eight input bits, or a probe's six values, as reports.
  int Bits(const std::string& path, uint8_t bits) {
    return Send(path, {kvr::hid::kInputReport, bits});
  }
  int Values(const std::string& path, const std::vector<int>& values) {
    std::vector<uint8_t> report{kvr::hid::kInputReport};
    for (int v : values) {
      report.push_back(uint8_t(v & 0xFF));
      report.push_back(uint8_t(v >> 8));
    }
    return Send(path, report);
  }
  void FailWrites(const std::string& path) { failWrites_(path.c_str(), 1); }
  int OpenHandles() { return openHandles_(); }

 private:
  template <typename Function>
  void Resolve(const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library_, name));
    if (function == nullptr) throw std::runtime_error(std::string("fake HID port lacks ") + name);
  }
  void* library_;
  decltype(&fake_hid_reset) reset_;
  decltype(&fake_hid_plug) plug_;
  decltype(&fake_hid_unplug) unplug_;
  decltype(&fake_hid_send) send_;
  decltype(&fake_hid_fail_writes) failWrites_;
  decltype(&fake_hid_open_handles) openHandles_;
};

}  // namespace tavelin::test
