#pragma once
// The Firmata protocol as a board running StandardFirmata speaks it: the
// few messages a board of inputs needs (docs/devices.md).
#include <cstdint>
#include <span>
#include <vector>

namespace kvr::firmata {

constexpr uint8_t kDigitalMessage = 0x90;  // | port, value LSB, MSB
constexpr uint8_t kAnalogMessage = 0xE0;   // | pin, value LSB, MSB
constexpr uint8_t kReportAnalog = 0xC0;    // | pin, on
constexpr uint8_t kReportDigital = 0xD0;   // | port, on
constexpr uint8_t kSetPinMode = 0xF4;      // pin, mode
constexpr uint8_t kReportVersion = 0xF9;   // major, minor
constexpr uint8_t kStartSysex = 0xF0;
constexpr uint8_t kEndSysex = 0xF7;
constexpr uint8_t kAnalogMappingQuery = 0x69;
constexpr uint8_t kAnalogMappingResponse = 0x6A;
constexpr uint8_t kReportFirmware = 0x79;
constexpr uint8_t kSamplingInterval = 0x7A;
constexpr uint8_t kModeInput = 0x00;
constexpr uint8_t kModeAnalog = 0x02;
constexpr uint8_t kNotAnalog = 0x7F;  // in an analog mapping

struct Message {
  enum class Kind { Version, Digital, Analog, AnalogMapping };
  Kind kind = Kind::Version;
  int index = 0;  // the port or the analog pin
  int value = 0;  // 14 bits; a version as major * 128 + minor
  // The analog channel of each pin, kNotAnalog for none (AnalogMapping).
  std::span<const uint8_t> mapping;
};

// Cuts a byte stream into messages. A command byte in the middle of a
// message starts the next one (a board that resets mid-message), and a
// sysex longer than any a board of inputs sends is skipped whole.
class Parser {
 public:
  static constexpr std::size_t kLongestSysex = 256;

  // Calls on(const Message&) for each whole message in `bytes`.
  template <typename On>
  void Feed(std::span<const uint8_t> bytes, On&& on) {
    for (const uint8_t byte : bytes) {
      Message message;
      if (Step(byte, message)) on(static_cast<const Message&>(message));
    }
  }

 private:
  bool Step(uint8_t byte, Message& message);
  bool Finish(Message& message);
  bool FinishSysex(Message& message);

  uint8_t command_ = 0;  // 0: between messages
  int wanted_ = 0;       // data bytes the command takes
  int have_ = 0;
  uint8_t data_[2] = {};
  bool inSysex_ = false;
  bool sysexTooLong_ = false;
  std::vector<uint8_t> sysex_;
};

// Messages to a board, appended to `out`.
void AppendVersionQuery(std::vector<uint8_t>& out);
void AppendAnalogMappingQuery(std::vector<uint8_t>& out);
void AppendSetPinMode(std::vector<uint8_t>& out, int pin, uint8_t mode);
void AppendReportDigital(std::vector<uint8_t>& out, int port, bool on);
void AppendReportAnalog(std::vector<uint8_t>& out, int pin, bool on);
void AppendSamplingInterval(std::vector<uint8_t>& out, int milliseconds);

}  // namespace kvr::firmata
