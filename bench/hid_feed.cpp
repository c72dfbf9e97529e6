// The USB hardware of bench/hid_cpu.py, preloaded into the program it
// measures: KVR_HID_FEED="MODULES MS" plugs that many prepared modules into
// the fake HID port that KVR_HID_PORT names (channels from 0, paths
// /fake/hidrawN) and sends each an input report every MS from a thread of
// its own, "fake-hid-feed", which the benchmark leaves out of its count.
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/fake_hid.h"

namespace {

class Feeder {
 public:
  Feeder() {
    const char* setting = std::getenv("KVR_HID_FEED");
    int modules = 0;
    if (setting == nullptr || std::sscanf(setting, "%d %d", &modules, &everyMs_) != 2) return;
    hid_ = std::make_unique<tavelin::test::FakeHid>();
    for (int channel = 0; channel < modules; ++channel) {
      paths_.push_back("/fake/hidraw" + std::to_string(channel));
      hid_->Module(paths_.back(), channel);
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
      for (const std::string& path : paths_) hid_->Bits(path, static_cast<uint8_t>(count));
      std::this_thread::sleep_for(std::chrono::milliseconds(everyMs_));
    }
  }

  std::unique_ptr<tavelin::test::FakeHid> hid_;
  std::vector<std::string> paths_;
  int everyMs_ = 1;
  std::atomic<bool> stop_{false};
  std::thread thread_;
} g_feeder;

}  // namespace
