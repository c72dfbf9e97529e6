#pragma once
// The device map: Modbus I/O and Firmata boards standing as modules and
// probes on channels (docs/devices.md).
#include <iosfwd>
#include <string>
#include <vector>

#include "simulation_file.h"

namespace kvr {

enum class LinkKind { ModbusTcp, ModbusRtu, Firmata };
enum class ModbusTable { Discrete, Coils, Input, Holding };

// A connection several lines may share: a TCP server, a serial line (an
// RS-485 bus or a board).
struct LinkAddress {
  LinkKind kind = LinkKind::ModbusTcp;
  std::string host;  // TCP
  int port = 502;
  std::string device;  // a serial line
  int baud = 0;
  char parity = 'N';
  int stopBits = 1;

  // Lines with the same key share one connection.
  std::string Key() const;
  // As `tavelin-cli devices` shows where it is: "127.0.0.1:502", "/dev/ttyUSB0 19200 8E1".
  std::string Place() const;
};

struct MappedDevice {
  DeviceFamily family = DeviceFamily::UsbIo;
  int channel = 0;
  LinkAddress link;
  // Modbus
  int unit = 1;
  ModbusTable table = ModbusTable::Discrete;
  int address = 0;
  int bit = 0;  // a module on a register: its first bit
  // Firmata
  int port = 0;         // a module's digital port
  int firstAnalog = 0;  // a probe's first analog pin
  std::string text;     // the line's words, one blank between
  int line = 0;

  // How many registers or bits from `address` one read of it takes.
  int Span() const;
  bool ReadsBits() const { return table == ModbusTable::Discrete || table == ModbusTable::Coils; }
};

struct DeviceMap {
  std::vector<MappedDevice> devices;  // in the map's order, both families
};

// $KVR_DEVICES (empty: no map), else $XDG_CONFIG_HOME/tavelin/devices.conf (~/.config/...).
std::string DeviceMapPath();
// Whether KVR_DEVICES names the map: a map named on purpose that is
// missing is said, the default one that is missing is no map.
bool DeviceMapNamed();

// The devices of the map's text, named `path` in faults. A bad line is left
// out and reported on `errors` as "path:line: what", by the reader of its
// family only (lines of neither by the USB-IO reader), so that each fault
// shows once. A channel given twice, or a serial line at two speeds, goes
// to the first line; the later one is reported and left out.
DeviceMap ParseDeviceMap(const std::string& text, const std::string& path, DeviceFamily reporter,
                         std::ostream& errors);
DeviceMap ReadDeviceMap(const std::string& path, DeviceFamily reporter, std::ostream& errors);

// Serial speeds the map takes (those termios knows).
bool KnownBaud(int baud);

}  // namespace kvr
