#include "firmata_link.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <bitset>
#include <cerrno>
#include <cstring>

#include "common/device_backend.h"
#include "common/firmata_protocol.h"
#include "serial_line.h"

namespace kvr {
namespace {

constexpr int kPollMs = 10;
constexpr int kAnalogPins = 16;
constexpr int kBitsPerByte = 10;  // on the line, with start and stop bits

class FirmataLink final : public Link {
 public:
  using Link::Link;
  ~FirmataLink() override { Stop(); }

 private:
  bool Connect(std::string& why) override {
    fd_ = OpenSerialLine(Address().device, Address().baud, why);
    if (fd_ < 0) return false;
    parser_ = {};
    const double start = SteadyMilliseconds();
    double asked = -1e9;
    while (!Stopping() && SteadyMilliseconds() - start < kFirmataHelloMs) {
      if (SteadyMilliseconds() - asked >= 500) {
        std::vector<uint8_t> query;
        firmata::AppendVersionQuery(query);
        if (!Send(query, why)) break;
        asked = SteadyMilliseconds();
      }
      bool version = false;
      if (!Receive(why, [&](const firmata::Message& m) {
            version = version || m.kind == firmata::Message::Kind::Version;
          })) {
        break;
      }
      if (version) return true;
    }
    if (why.empty())
      why = "no Firmata version report within 3 s (is StandardFirmata on the board?)";
    Disconnect();
    return false;
  }

  void Disconnect() override {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

  // Digital ports as inputs and reported; the analog pins reported, at the
  // shortest interval their reports fit the line; their mapping asked for,
  // so that each analog pin is also put in analog mode.
  void Planned(std::vector<Device>& devices) override {
    analogWanted_.reset();
    analogSeen_.reset();
    std::vector<uint8_t> out;
    for (const Device& device : devices) {
      const MappedDevice& d = device.map;
      if (d.family == DeviceFamily::UsbIo) {
        for (int pin = d.port * 8; pin < d.port * 8 + 8; ++pin) {
          firmata::AppendSetPinMode(out, pin, firmata::kModeInput);
        }
        firmata::AppendReportDigital(out, d.port, true);
      } else {
        for (int a = d.firstAnalog; a < d.firstAnalog + kProbeInputs; ++a) analogWanted_.set(a);
      }
    }
    if (analogWanted_.any()) {
      const int bytesEachInterval = 3 * static_cast<int>(analogWanted_.count());
      const int interval = std::max(
          1, (bytesEachInterval * kBitsPerByte * 1000 + Address().baud - 1) / Address().baud);
      firmata::AppendSamplingInterval(out, interval);
      firmata::AppendAnalogMappingQuery(out);
      ReportAnalog(out);
    }
    std::string why;
    Send(out, why);  // a line that fails shows in the next round
    lastHeard_ = SteadyMilliseconds();
    lastAsked_ = lastHeard_;
  }

  bool Round(std::vector<Device>& devices, std::string& why) override {
    bool reset = false;
    const bool ok = Receive(why, [&](const firmata::Message& m) {
      switch (m.kind) {
        case firmata::Message::Kind::Version:
          reset = true;
          break;
        case firmata::Message::Kind::Digital:
          for (Device& device : devices) {
            if (device.map.family == DeviceFamily::UsbIo && device.map.port == m.index) {
              Answered(device, {m.value & 0xFF});
            }
          }
          break;
        case firmata::Message::Kind::Analog:
          TakeAnalog(devices, m.index, m.value);
          break;
        case firmata::Message::Kind::AnalogMapping:
          PutAnalogPinsInAnalogMode(m.mapping, why);
          break;
      }
    });
    if (!ok) return false;
    if (reset) Planned(devices);
    const double now = SteadyMilliseconds();
    if (now - lastHeard_ >= kFirmataLostMs) {
      why = "the board has said nothing for 3 s";
      return false;
    }
    if (now - lastHeard_ >= kFirmataQuietMs && now - lastAsked_ >= kFirmataQuietMs) {
      std::vector<uint8_t> query;
      firmata::AppendVersionQuery(query);
      if (!Send(query, why)) return false;
      lastAsked_ = now;
    }
    return true;
  }

  void TakeAnalog(std::vector<Device>& devices, int pin, int value) {
    if (pin < 0 || pin >= kAnalogPins) return;
    analog_[static_cast<std::size_t>(pin)] = value;
    analogSeen_.set(static_cast<std::size_t>(pin));
    for (Device& device : devices) {
      const MappedDevice& d = device.map;
      if (d.family != DeviceFamily::Probe || pin < d.firstAnalog ||
          pin >= d.firstAnalog + kProbeInputs) {
        continue;
      }
      LatestInputs::Input input{};
      bool whole = true;
      for (int p = 0; p < kProbeInputs; ++p) {
        whole = whole && analogSeen_.test(static_cast<std::size_t>(d.firstAnalog + p));
        input[static_cast<std::size_t>(p)] = analog_[static_cast<std::size_t>(d.firstAnalog + p)];
      }
      if (whole) Answered(device, input);
    }
  }

  void PutAnalogPinsInAnalogMode(std::span<const uint8_t> mapping, std::string& why) {
    std::vector<uint8_t> out;
    for (std::size_t pin = 0; pin < mapping.size(); ++pin) {
      const uint8_t channel = mapping[pin];
      if (channel < kAnalogPins && analogWanted_.test(channel)) {
        firmata::AppendSetPinMode(out, static_cast<int>(pin), firmata::kModeAnalog);
      }
    }
    ReportAnalog(out);
    Send(out, why);
  }

  void ReportAnalog(std::vector<uint8_t>& out) const {
    for (int a = 0; a < kAnalogPins; ++a) {
      if (analogWanted_.test(static_cast<std::size_t>(a)))
        firmata::AppendReportAnalog(out, a, true);
    }
  }

  bool Send(const std::vector<uint8_t>& bytes, std::string& why) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
      const ssize_t n = ::write(fd_, bytes.data() + sent, bytes.size() - sent);
      if (n > 0) {
        sent += static_cast<std::size_t>(n);
      } else if (n < 0 && errno == EAGAIN) {
        pollfd writable{fd_, POLLOUT, 0};
        ::poll(&writable, 1, kPollMs);
      } else {
        why = n < 0 ? std::strerror(errno) : "the line closed";
        return false;
      }
    }
    return true;
  }

  // Waits a little for bytes and hands on each whole message.
  template <typename On>
  bool Receive(std::string& why, On&& on) {
    pollfd readable{fd_, POLLIN, 0};
    const int ready = ::poll(&readable, 1, kPollMs);
    if (ready < 0 && errno != EINTR) {
      why = std::strerror(errno);
      return false;
    }
    if (ready <= 0) return true;
    uint8_t bytes[512];
    const ssize_t n = ::read(fd_, bytes, sizeof bytes);
    if (n > 0) {
      lastHeard_ = SteadyMilliseconds();
      parser_.Feed(std::span<const uint8_t>(bytes, static_cast<std::size_t>(n)), on);
      return true;
    }
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) return true;
    why = n < 0 ? std::strerror(errno) : "the line closed (board unplugged?)";
    return false;
  }

  int fd_ = -1;
  firmata::Parser parser_;
  std::array<int32_t, kAnalogPins> analog_{};
  std::bitset<kAnalogPins> analogWanted_;
  std::bitset<kAnalogPins> analogSeen_;
  double lastHeard_ = 0.0;
  double lastAsked_ = 0.0;
};

}  // namespace

std::unique_ptr<Link> MakeFirmataLink(LinkAddress address, LatestInputs* modules,
                                      LatestInputs* probes) {
  return std::make_unique<FirmataLink>(std::move(address), modules, probes);
}

}  // namespace kvr
