#pragma once
#include <memory>

#include "link.h"

namespace kvr {

// A Modbus TCP server or RTU bus, through libmodbus. Devices that read
// neighbouring inputs of one unit and table are asked in one request (a
// block); a block that a device answers with an exception is split into
// its devices, so that one wrong address costs only its own line.
std::unique_ptr<Link> MakeModbusLink(LinkAddress address, LatestInputs* modules,
                                     LatestInputs* probes);

// Fixed, short: a reader never waits long on one device.
constexpr int kModbusTcpTimeoutMs = 100;
constexpr int kModbusRtuTimeoutMs = 200;
constexpr int kModbusByteTimeoutMs = 20;
// A round of requests at most this often: a device is asked about a
// thousand times a second, and a reader spins on nothing.
constexpr double kModbusRoundMs = 1.0;
// A block lost only after this many failures in a row: one garbled frame
// on a noisy bus is asked again at once.
constexpr int kModbusTriesBeforeLost = 3;

}  // namespace kvr
