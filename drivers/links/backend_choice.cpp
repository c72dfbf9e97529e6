// Which devices stand behind a library: the simulated bench, or the real
// devices (the device map's and the USB HID ones) together.
#include <bitset>
#include <cstdlib>
#include <iostream>

#include "common/device_backend.h"
#include "common/hid_backend.h"
#include "links/mapped_backend.h"

namespace kvr {
namespace {

// The device map's devices and the HID devices on one set of channels. A
// channel the map gives belongs to the map's device; a HID device that
// claims it as well is named and left out.
class RealBackend final : public DeviceBackend {
 public:
  RealBackend(DeviceFamily family, DeviceBackend& mapped, DeviceBackend& hid)
      : family_(family), mapped_(mapped), hid_(hid) {}

  void Rescan() override {
    mapped_.Rescan();
    hid_.Rescan();
    for (int c = 0; c < kChannels; ++c) {
      mappedOwns_[static_cast<std::size_t>(c)] = mapped_.Present(c);
      if (mapped_.Present(c) && hid_.Present(c)) {
        std::cerr << "kvr: " << (family_ == DeviceFamily::UsbIo ? "module" : "probe") << " channel "
                  << c << " is the device map's; the USB device \"" << HidPlace(c)
                  << "\" on it is left out\n";
        hid_.Close(c);
      }
    }
    hidPaces_ = false;
    for (int c = 0; c < kChannels; ++c) hidPaces_ = hidPaces_ || hid_.Present(c);
  }

  bool Present(int channel) const override {
    return mapped_.Present(channel) || hid_.Present(channel);
  }
  bool Prepared(int channel) const override { return Owner(channel).Prepared(channel); }

  // The HID devices pace the read when there are any: the mapped ones then
  // give what they have without waiting, or a pass would last the whole wait.
  void BeginReads(double waitMs) override {
    hid_.BeginReads(waitMs);
    mapped_.BeginReads(hidPaces_ ? 0.0 : waitMs);
  }

  bool Read(int channel, double nowMs, int32_t* out) override {
    return Owner(channel).Read(channel, nowMs, out);
  }
  bool WriteSettings(int channel) override { return Owner(channel).WriteSettings(channel); }
  void Close(int channel) override {
    mapped_.Close(channel);
    hid_.Close(channel);
    if (channel >= 0 && channel < kChannels) mappedOwns_.reset(static_cast<std::size_t>(channel));
  }
  std::string Describe(int channel) const override { return Owner(channel).Describe(channel); }

 private:
  static constexpr int kChannels = 16;

  const DeviceBackend& Owner(int channel) const {
    const bool mapped =
        channel >= 0 && channel < kChannels && mappedOwns_.test(static_cast<std::size_t>(channel));
    return mapped ? mapped_ : hid_;
  }
  DeviceBackend& Owner(int channel) {
    return const_cast<DeviceBackend&>(static_cast<const RealBackend*>(this)->Owner(channel));
  }
  std::string HidPlace(int channel) const {
    const std::string described = hid_.Describe(channel);
    return described.substr(described.find('\t') + 1);
  }

  DeviceFamily family_;
  DeviceBackend& mapped_;
  DeviceBackend& hid_;
  std::bitset<kChannels> mappedOwns_;
  bool hidPaces_ = false;
};

}  // namespace

DeviceBackend& SelectBackend(DeviceFamily family) {
  static const auto simulated = MakeSimulatedBackend(family);
  if (std::getenv(kSimulationVariable) != nullptr) return *simulated;
  static HidBackend hid(family, SystemHidPort);
  static RealBackend real(family, *kvr_links_backend(family == DeviceFamily::UsbIo ? 0 : 1), hid);
  return real;
}

}  // namespace kvr
