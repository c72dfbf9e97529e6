#include "support/firmata_board.h"

#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

namespace tavelin::test {
namespace {

// An Uno: digital pins 0-19, analog pins 0-5 on pins 14-19.
constexpr int kFirstAnalogPin = 14;
constexpr int kAnalogInputs = 6;
constexpr int kModeAnalog = 2;

}  // namespace

FirmataBoard::FirmataBoard() {
  char name[256] = {};
  termios raw{};
  cfmakeraw(&raw);
  if (openpty(&master_, &slave_, name, &raw, nullptr) != 0) throw std::runtime_error("openpty");
  path_ = name;
  modes_.fill(1);  // outputs, as after a reset
  for (int a = 0; a < kAnalogInputs; ++a) modes_[kFirstAnalogPin + a] = kModeAnalog;
  thread_ = std::thread([this] { Run(); });
}

FirmataBoard::~FirmataBoard() {
  stop_ = true;
  thread_.join();
  ::close(master_);
  ::close(slave_);
}

void FirmataBoard::SetPin(int pin, bool high) {
  const std::lock_guard lock(mutex_);
  const uint8_t bit = static_cast<uint8_t>(1u << (pin % 8));
  uint8_t& port = ports_[static_cast<std::size_t>(pin / 8)];
  port = high ? (port | bit) : (port & ~bit);
  if (reportDigital_ & (1u << (pin / 8))) SendPort(pin / 8);
}

void FirmataBoard::SetAnalog(int pin, int value) {
  const std::lock_guard lock(mutex_);
  analog_[static_cast<std::size_t>(pin)] = value;
}

void FirmataBoard::Reset() {
  const std::lock_guard lock(mutex_);
  reportAnalog_ = 0;
  reportDigital_ = 0;
  SendVersion();
}

int FirmataBoard::ModeOf(int pin) {
  const std::lock_guard lock(mutex_);
  return modes_[static_cast<std::size_t>(pin)];
}

void FirmataBoard::Send(std::vector<uint8_t> bytes) {
  [[maybe_unused]] const ssize_t sent = ::write(master_, bytes.data(), bytes.size());
}

// A port reports the pins in input mode only, as StandardFirmata does.
void FirmataBoard::SendPort(int port) {
  uint8_t value = 0;
  for (int bit = 0; bit < 8; ++bit) {
    if (modes_[static_cast<std::size_t>(port * 8 + bit)] == 0) value |= ports_[port] & (1u << bit);
  }
  Send({static_cast<uint8_t>(0x90 | port), static_cast<uint8_t>(value & 0x7F),
        static_cast<uint8_t>(value >> 7)});
}

void FirmataBoard::SendVersion() {
  Send({0xF9, 2, 5});
  Send({0xF0, 0x79, 2, 5, 'U', 0, 'n', 0, 'o', 0, 0xF7});
}

void FirmataBoard::Take(const std::vector<uint8_t>& m) {
  const std::lock_guard lock(mutex_);
  const uint8_t command = m[0];
  if (command == 0xF9) {
    SendVersion();
  } else if (command == 0xF4 && m.size() >= 3) {
    modes_[m[1] & 0x1F] = m[2];
  } else if ((command & 0xF0) == 0xD0 && m.size() >= 2) {
    const int port = command & 0x0F;
    if (m[1] != 0) {
      reportDigital_ |= static_cast<uint16_t>(1u << port);
      SendPort(port);
    } else {
      reportDigital_ &= static_cast<uint16_t>(~(1u << port));
    }
  } else if ((command & 0xF0) == 0xC0 && m.size() >= 2) {
    const uint16_t bit = static_cast<uint16_t>(1u << (command & 0x0F));
    reportAnalog_ = m[1] != 0 ? (reportAnalog_ | bit) : (reportAnalog_ & ~bit);
  } else if (command == 0xF0 && m.size() >= 2 && m[1] == 0x7A && m.size() >= 4) {
    intervalMs_ = m[2] | (m[3] << 7);
  } else if (command == 0xF0 && m.size() >= 2 && m[1] == 0x69) {
    std::vector<uint8_t> mapping{0xF0, 0x6A};
    for (int pin = 0; pin < 20; ++pin) {
      mapping.push_back(pin >= kFirstAnalogPin ? static_cast<uint8_t>(pin - kFirstAnalogPin)
                                               : uint8_t{0x7F});
    }
    mapping.push_back(0xF7);
    Send(mapping);
  }
}

void FirmataBoard::Run() {
  std::vector<uint8_t> message;
  auto nextSample = std::chrono::steady_clock::now();
  while (!stop_) {
    pollfd readable{master_, POLLIN, 0};
    if (::poll(&readable, 1, 1) > 0) {
      uint8_t bytes[256];
      const ssize_t n = ::read(master_, bytes, sizeof bytes);
      for (ssize_t i = 0; i < n; ++i) {
        const uint8_t byte = bytes[i];
        if (byte >= 0x80 && byte != 0xF7) message.clear();
        message.push_back(byte);
        const uint8_t command = message[0];
        const bool whole = command == 0xF0   ? byte == 0xF7
                           : command == 0xF9 ? true
                           : (command & 0xF0) == 0xC0 || (command & 0xF0) == 0xD0
                               ? message.size() == 2
                           : command == 0xF4 ? message.size() == 3
                                             : false;
        if (whole) {
          Take(message);
          message.clear();
        }
      }
    }
    if (std::chrono::steady_clock::now() < nextSample) continue;
    nextSample += std::chrono::milliseconds(intervalMs_.load());
    const std::lock_guard lock(mutex_);
    for (int a = 0; a < 16; ++a) {
      if (!(reportAnalog_ & (1u << a)) ||
          modes_[kFirstAnalogPin + (a % kAnalogInputs)] != kModeAnalog) {
        continue;
      }
      const int value = analog_[static_cast<std::size_t>(a)];
      Send({static_cast<uint8_t>(0xE0 | a), static_cast<uint8_t>(value & 0x7F),
            static_cast<uint8_t>(value >> 7)});
    }
  }
}

}  // namespace tavelin::test
