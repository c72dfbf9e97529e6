// The USB hardware of bench/hid_cpu.py, preloaded into the program it
// measures: KVR_HID_FEED="MODULES MS" plugs that many prepared modules into
// the tests' fake HID port (channels from 0, paths /fake/hidrawN) and sends
// each an input report every MS from a thread of its own, "fake-hid-feed",
// which the benchmark leaves out of its count.
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "common/hid_protocol.h"
#include "fakes/fake_hid_control.h"

namespace {

class Feeder {
 public:
  Feeder() {
    const char* setting = std::getenv("KVR_HID_FEED");
    if (setting == nullptr || std::sscanf(setting, "%d %d", &modules_, &everyMs_) != 2) return;
    for (int channel = 0; channel < modules_; ++channel) {
      paths_.push_back("/fake/hidraw" + std::to_string(channel));
      const unsigned char identity[] = {kvr::hid::kIdentityReport, kvr::hid::kProtocolVersion,
                                        static_cast<unsigned char>(channel),
                                        kvr::hid::kPreparedMarker};
      fake_hid_plug(paths_.back().c_str(), kvr::hid::kUsagePage, kvr::hid::kModuleUsage, identity,
                    sizeof identity);
    }
    thread_ = std::thread([this] { Feed(); });
  }
  ~Feeder() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }

 private:
  void Feed() {
    pthread_setname_np(pthread_self(), "fake-hid-feed");
    for (unsigned count = 0; !stop_; ++count) {
      const unsigned char report[] = {kvr::hid::kInputReport, static_cast<unsigned char>(count)};
      for (const std::string& path : paths_) fake_hid_send(path.c_str(), report, sizeof report);
      std::this_thread::sleep_for(std::chrono::milliseconds(everyMs_));
    }
  }

  int modules_ = 0;
  std::vector<std::string> paths_;
  int everyMs_ = 1;
  std::atomic<bool> stop_{false};
  std::thread thread_;
} g_feeder;

}  // namespace
