#include "device_map.h"

#include <cstdlib>
#include <map>
#include <ostream>
#include <sstream>

#include "line_words.h"

namespace kvr {
namespace {

constexpr std::uintmax_t kLargestMap = std::uintmax_t{1} << 20;
constexpr int kModuleInputs = 8;
constexpr int kDefaultFirmataBaud = 57600;
constexpr int kLastAddress = 65535;

int Channels(DeviceFamily family) {
  return family == DeviceFamily::UsbIo ? 16 : 8;
}

const char* FamilyWord(DeviceFamily family) {
  return family == DeviceFamily::UsbIo ? "usbio" : "probe";
}

// "HOST", "HOST:PORT", "[V6]" or "[V6]:PORT".
void TakeHost(const std::string& word, LinkAddress& link) {
  std::string host = word;
  std::string port;
  if (!word.empty() && word[0] == '[') {
    const std::size_t close = word.find(']');
    if (close == std::string::npos) throw LineFault("'" + Shown(word) + "' lacks its ']'");
    host = word.substr(1, close - 1);
    if (close + 1 < word.size()) {
      if (word[close + 1] != ':') throw LineFault("'" + Shown(word) + "' is not HOST[:PORT]");
      port = word.substr(close + 2);
    }
  } else if (const std::size_t colon = word.rfind(':'); colon != std::string::npos) {
    host = word.substr(0, colon);
    port = word.substr(colon + 1);
  }
  if (host.empty()) throw LineFault("'" + Shown(word) + "' names no host");
  link.host = host;
  if (!port.empty()) link.port = static_cast<int>(Integer(port, 1, 65535, "port"));
}

int TakeBaud(const std::string& word) {
  const auto baud = static_cast<int>(Integer(word, 1, 4000000, "speed"));
  if (!KnownBaud(baud)) {
    throw LineFault("speed " + Shown(word) + " is not one a serial line takes (9600, 19200, ...)");
  }
  return baud;
}

bool IsFrame(const std::string& word) {
  return word == "8N1" || word == "8E1" || word == "8O1" || word == "8N2";
}

ModbusTable TakeTable(const std::string& word, DeviceFamily family) {
  if (family == DeviceFamily::UsbIo) {
    if (word == "discrete") return ModbusTable::Discrete;
    if (word == "coils") return ModbusTable::Coils;
  }
  if (word == "input") return ModbusTable::Input;
  if (word == "holding") return ModbusTable::Holding;
  throw LineFault("'" + Shown(word) + "' is not a table a " +
                  (family == DeviceFamily::UsbIo ? std::string("module reads (discrete, coils, "
                                                               "input, holding)")
                                                 : std::string("probe reads (input, holding)")));
}

void TakeModbusDevice(Arguments& args, MappedDevice& device) {
  if (!args.TakeIf("unit")) throw LineFault("expected 'unit N' after the connection");
  if (args.Empty()) throw LineFault("'unit' needs a number");
  const bool tcp = device.link.kind == LinkKind::ModbusTcp;
  device.unit = static_cast<int>(Integer(args.Take(), tcp ? 0 : 1, tcp ? 255 : 247, "unit"));
  if (args.Empty()) throw LineFault("expected the table and the address after the unit");
  device.table = TakeTable(args.Take(), device.family);
  if (args.Empty()) throw LineFault("expected the address after the table");
  device.address = static_cast<int>(Integer(args.Take(), 0, kLastAddress, "address"));
  if (args.TakeIf("bit")) {
    if (device.family != DeviceFamily::UsbIo || device.ReadsBits()) {
      throw LineFault("'bit' belongs to a module on an input or holding register");
    }
    if (args.Empty()) throw LineFault("'bit' needs a number");
    device.bit = static_cast<int>(Integer(args.Take(), 0, 16 - kModuleInputs, "bit"));
  }
  if (device.address + device.Span() - 1 > kLastAddress) {
    throw LineFault("address " + std::to_string(device.address) + " leaves no room for " +
                    std::to_string(device.Span()) + " inputs");
  }
}

void TakeFirmataDevice(Arguments& args, MappedDevice& device) {
  if (device.family == DeviceFamily::UsbIo) {
    if (!args.TakeIf("port")) throw LineFault("expected 'port P' after the board");
    if (args.Empty()) throw LineFault("'port' needs a number");
    device.port = static_cast<int>(Integer(args.Take(), 0, 15, "port"));
  } else {
    if (!args.TakeIf("analog")) throw LineFault("expected 'analog FIRST' after the board");
    if (args.Empty()) throw LineFault("'analog' needs a number");
    device.firstAnalog = static_cast<int>(Integer(args.Take(), 0, 16 - kProbeInputs, "analog"));
  }
}

MappedDevice DeviceLine(const std::vector<std::string>& words, DeviceFamily family) {
  MappedDevice device;
  device.family = family;
  device.text = Joined(words);
  if (words.size() < 4) {
    throw LineFault(std::string("expected: ") + FamilyWord(family) + " CHANNEL " +
                    "modbus-tcp|modbus-rtu|firmata ...");
  }
  device.channel = static_cast<int>(Integer(words[1], 0, Channels(family) - 1, "channel"));
  const std::string& kind = words[2];
  Arguments args(std::vector<std::string>(words.begin() + 4, words.end()));
  LinkAddress& link = device.link;
  if (kind == "modbus-tcp") {
    link.kind = LinkKind::ModbusTcp;
    TakeHost(words[3], link);
    TakeModbusDevice(args, device);
  } else if (kind == "modbus-rtu") {
    link.kind = LinkKind::ModbusRtu;
    link.device = words[3];
    if (args.Empty()) throw LineFault("expected the speed after the serial device");
    link.baud = TakeBaud(args.Take());
    if (!args.Empty() && IsFrame(args.Peek())) {
      const std::string frame = args.Take();
      link.parity = frame[1];
      link.stopBits = frame[2] - '0';
    }
    TakeModbusDevice(args, device);
  } else if (kind == "firmata") {
    link.kind = LinkKind::Firmata;
    link.device = words[3];
    link.baud = kDefaultFirmataBaud;
    if (!args.Empty() && args.Peek() != "port" && args.Peek() != "analog") {
      link.baud = TakeBaud(args.Take());
    }
    TakeFirmataDevice(args, device);
  } else {
    throw LineFault("unknown connection '" + Shown(kind) + "' (modbus-tcp, modbus-rtu, firmata)");
  }
  args.ExpectEnd();
  return device;
}

// A later line's serial line must be the earlier one's: one speed, one frame, one protocol.
void CheckSameLine(const MappedDevice& device, std::map<std::string, MappedDevice>& lines) {
  if (device.link.kind == LinkKind::ModbusTcp) return;
  const auto [at, first] = lines.emplace(device.link.device, device);
  if (first) return;
  const MappedDevice& earlier = at->second;
  if (earlier.link.Key() != device.link.Key()) {
    throw LineFault(device.link.device + " is used as " + earlier.link.Place() + " on line " +
                    std::to_string(earlier.line));
  }
}

}  // namespace

std::string LinkAddress::Key() const {
  switch (kind) {
    case LinkKind::ModbusTcp:
      return "modbus-tcp " + host + ":" + std::to_string(port);
    case LinkKind::ModbusRtu:
      return "modbus-rtu " + Place();
    case LinkKind::Firmata:
      return "firmata " + Place();
  }
  return {};
}

std::string LinkAddress::Place() const {
  if (kind == LinkKind::ModbusTcp) {
    const bool v6 = host.find(':') != std::string::npos;
    return (v6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
  }
  std::string place = device + " " + std::to_string(baud);
  if (kind == LinkKind::ModbusRtu) place += std::string(" 8") + parity + std::to_string(stopBits);
  return place;
}

int MappedDevice::Span() const {
  if (link.kind == LinkKind::Firmata) return family == DeviceFamily::UsbIo ? 8 : kProbeInputs;
  if (family == DeviceFamily::Probe) return kProbeInputs;
  return ReadsBits() ? kModuleInputs : 1;
}

bool KnownBaud(int baud) {
  switch (baud) {
    case 1200:
    case 2400:
    case 4800:
    case 9600:
    case 19200:
    case 38400:
    case 57600:
    case 115200:
    case 230400:
    case 460800:
    case 500000:
    case 921600:
    case 1000000:
      return true;
    default:
      return false;
  }
}

std::string DeviceMapPath() {
  if (const char* named = std::getenv("KVR_DEVICES"); named != nullptr) return named;
  if (const char* config = std::getenv("XDG_CONFIG_HOME"); config != nullptr && *config == '/') {
    return std::string(config) + "/tavelin/devices.conf";
  }
  const char* home = std::getenv("HOME");
  return std::string(home != nullptr ? home : "") + "/.config/tavelin/devices.conf";
}

bool DeviceMapNamed() {
  return std::getenv("KVR_DEVICES") != nullptr;
}

DeviceMap ParseDeviceMap(const std::string& text, const std::string& path, DeviceFamily reporter,
                         std::ostream& errors) {
  DeviceMap map;
  std::istringstream in(text);
  std::map<std::pair<DeviceFamily, int>, int> claimed;  // channel -> line
  std::map<std::string, MappedDevice> serialLines;      // the first line on each
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const auto words = Words(line);
    if (words.empty()) continue;
    const std::string& keyword = words[0];
    const bool usbio = keyword == "usbio";
    const bool known = usbio || keyword == "probe";
    const DeviceFamily family = usbio || !known ? DeviceFamily::UsbIo : DeviceFamily::Probe;
    try {
      if (!known) throw LineFault("unknown word '" + Shown(keyword) + "' (usbio, probe)");
      MappedDevice device = DeviceLine(words, family);
      device.line = number;
      const auto [at, first] = claimed.emplace(std::pair(family, device.channel), number);
      if (!first) {
        throw LineFault(std::string(family == DeviceFamily::UsbIo ? "module" : "probe") +
                        " channel " + std::to_string(device.channel) + " is given on line " +
                        std::to_string(at->second) + " already");
      }
      try {
        CheckSameLine(device, serialLines);
      } catch (const LineFault&) {
        claimed.erase(at);
        throw;
      }
      map.devices.push_back(std::move(device));
    } catch (const LineFault& fault) {
      if (family == reporter) errors << path << ":" << number << ": " << fault.what() << "\n";
    }
  }
  return map;
}

DeviceMap ReadDeviceMap(const std::string& path, DeviceFamily reporter, std::ostream& errors) {
  if (path.empty()) return {};  // KVR_DEVICES set empty: no map
  std::string why;
  const auto text = ReadPlainFile(path, kLargestMap, why);
  if (!text) {
    if (DeviceMapNamed() && reporter == DeviceFamily::UsbIo) {
      errors << path << ": the device map " << why << "\n";
    }
    return {};
  }
  return ParseDeviceMap(*text, path, reporter, errors);
}

}  // namespace kvr
