#pragma once
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "signal_source.h"

namespace kvr {

enum class DeviceFamily { UsbIo, Probe };

// One device line of a simulation file.
struct SimulatedDeviceLine {
  int channel = 0;
  bool prepared = true;  // carries this system's settings (probes always do)
  std::optional<std::int64_t> vanishAfterReads;
  bool writeFails = false;  // the module does not take settings
  std::string text;         // the line as written: a device whose line is unchanged keeps its state
  std::unique_ptr<SignalSource> source;
};

struct SimulationFile {
  int readTimeUs = 0;
  std::vector<SimulatedDeviceLine> devices;  // of the family asked for
};

// Reads the devices of one family from a simulation file. A faulty line is
// reported on `errors` as "file:line: what" and left out. Lines that belong
// to no family (settings, unknown words) are reported by the USB-IO reader
// only, so each fault shows once.
SimulationFile ReadSimulationFile(const std::string& path, DeviceFamily family,
                                  std::ostream& errors);

}  // namespace kvr
