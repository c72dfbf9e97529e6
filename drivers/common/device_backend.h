#pragma once
#include <cstdint>
#include <memory>
#include <string>

#include "simulation_file.h"

namespace kvr {

// What stands behind a library's entry points: the devices plugged in now.
// Devices are known by their channel number, as the modules carry it.
class DeviceBackend {
 public:
  virtual ~DeviceBackend() = default;
  // Looks afresh at what is plugged in.
  virtual void Rescan() = 0;
  virtual bool Present(int channel) const = 0;
  // Carries this system's settings: written once by setting_write_USBIO.
  virtual bool Prepared(int channel) const = 0;
  // Called once per read of all devices, before the first device is read;
  // waits at most `waitMs` for input newer than the last read's.
  virtual void BeginReads(double waitMs) = 0;
  // One read of a device into out (1 value for USB-IO, 6 for a probe);
  // false when the device has gone and nothing was read.
  virtual bool Read(int channel, double nowMs, int32_t* out) = 0;
  virtual bool WriteSettings(int channel) = 0;
  virtual void Close(int channel) = 0;
  // The backend and the place of the device on a channel, a tab between
  // them ("hid\t/dev/hidraw3"), for a user wiring a bench; empty for none.
  virtual std::string Describe(int channel) const = 0;
};

// Names the simulation file; when set, no real device is looked for.
constexpr const char* kSimulationVariable = "KVR_SIMULATION";

// The longest a read of all devices waits for fresh input: real devices
// pace the sampling loop, and no fault stalls it.
constexpr double kLongestWaitForInputMs = 4.0;

// The simulated devices of the file named by KVR_SIMULATION when it is set,
// else the devices of the device map and the USB HID devices of our
// protocol. Chosen afresh at each search; each backend keeps its state for
// the process life.
DeviceBackend& SelectBackend(DeviceFamily family);

// The simulated backend on its own, for tests of the library internals.
std::unique_ptr<DeviceBackend> MakeSimulatedBackend(DeviceFamily family);

// Milliseconds of a steady clock.
double SteadyMilliseconds();

// The same clock at the kernel's tick (a few ms), at a fraction of the
// cost: enough for the patterns of simulated devices, read once per read.
double CoarseMilliseconds();

}  // namespace kvr
