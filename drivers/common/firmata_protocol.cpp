#include "firmata_protocol.h"

namespace kvr::firmata {
namespace {

// Data bytes after a command byte that is not a sysex.
int DataBytesOf(uint8_t command) {
  if (command < 0xF0) {
    const uint8_t kind = command & 0xF0;
    return kind == kReportAnalog || kind == kReportDigital ? 1 : 2;
  }
  return command == kReportVersion || command == kSetPinMode ? 2 : 0;
}

uint8_t Low7(int value) {
  return static_cast<uint8_t>(value & 0x7F);
}

uint8_t High7(int value) {
  return static_cast<uint8_t>((value >> 7) & 0x7F);
}

}  // namespace

bool Parser::Step(uint8_t byte, Message& message) {
  if (inSysex_) {
    if (byte == kEndSysex) {
      inSysex_ = false;
      return !sysexTooLong_ && FinishSysex(message);
    }
    if (byte < 0x80) {
      if (sysex_.size() < kLongestSysex) {
        sysex_.push_back(byte);
      } else {
        sysexTooLong_ = true;
      }
      return false;
    }
    inSysex_ = false;  // a board reset mid-sysex: this byte starts anew
  }
  if (byte >= 0x80) {
    command_ = 0;
    if (byte == kStartSysex) {
      inSysex_ = true;
      sysexTooLong_ = false;
      sysex_.clear();
      return false;
    }
    wanted_ = DataBytesOf(byte);
    have_ = 0;
    if (wanted_ > 0) command_ = byte;
    return false;
  }
  if (command_ == 0) return false;  // data without a command: skipped
  data_[have_++] = byte;
  if (have_ < wanted_) return false;
  return Finish(message);
}

bool Parser::Finish(Message& message) {
  const uint8_t command = command_;
  const int value = data_[0] | (data_[1] << 7);
  have_ = 0;  // Firmata's running status: more data repeats the command
  switch (command & 0xF0) {
    case kDigitalMessage:
      message = {Message::Kind::Digital, command & 0x0F, value, {}};
      return true;
    case kAnalogMessage:
      message = {Message::Kind::Analog, command & 0x0F, value, {}};
      return true;
    default:
      break;
  }
  if (command == kReportVersion) {
    message = {Message::Kind::Version, 0, data_[0] * 128 + data_[1], {}};
    command_ = 0;
    return true;
  }
  return false;
}

bool Parser::FinishSysex(Message& message) {
  if (sysex_.empty()) return false;
  if (sysex_[0] == kReportFirmware && sysex_.size() >= 3) {
    message = {Message::Kind::Version, 0, sysex_[1] * 128 + sysex_[2], {}};
    return true;
  }
  if (sysex_[0] == kAnalogMappingResponse) {
    message = {Message::Kind::AnalogMapping, 0, 0, std::span<const uint8_t>(sysex_).subspan(1)};
    return true;
  }
  return false;
}

void AppendVersionQuery(std::vector<uint8_t>& out) {
  out.push_back(kReportVersion);
}

void AppendAnalogMappingQuery(std::vector<uint8_t>& out) {
  out.insert(out.end(), {kStartSysex, kAnalogMappingQuery, kEndSysex});
}

void AppendSetPinMode(std::vector<uint8_t>& out, int pin, uint8_t mode) {
  out.insert(out.end(), {kSetPinMode, Low7(pin), mode});
}

void AppendReportDigital(std::vector<uint8_t>& out, int port, bool on) {
  out.insert(out.end(), {static_cast<uint8_t>(kReportDigital | (port & 0x0F)), Low7(on)});
}

void AppendReportAnalog(std::vector<uint8_t>& out, int pin, bool on) {
  out.insert(out.end(), {static_cast<uint8_t>(kReportAnalog | (pin & 0x0F)), Low7(on)});
}

void AppendSamplingInterval(std::vector<uint8_t>& out, int milliseconds) {
  out.insert(out.end(),
             {kStartSysex, kSamplingInterval, Low7(milliseconds), High7(milliseconds), kEndSysex});
}

}  // namespace kvr::firmata
