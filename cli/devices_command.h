#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "devices/device_libraries.h"

namespace tavelin::cli {

// A device on a channel, as the libraries find it.
struct FoundDevice {
  std::string backend;  // "hid", "simulation", ...
  int channel = 0;
  bool probe = false;
  bool prepared = false;  // a module the sampling run uses; every probe is
  std::string path;
  // A device of the device map: "ok", "waiting", or "lost: why"; empty
  // for the others, whose state is their presence.
  std::string state;

  bool Answers() const { return state.empty() || state == "ok"; }
};

// Every module (prepared or not) and every probe the libraries find now.
std::vector<FoundDevice> FindDevices(const UsbIoEntryPoints& usbIo,
                                     const UsbProbeEntryPoints& usbProbe);

void PrintDevices(const std::vector<FoundDevice>& devices, std::ostream& out);

// tavelin-cli devices: what stands at the bench, for a user wiring it.
// With `check`, ends with status 1 when a device of the map does not answer.
int RunDevices(const std::string& programFolder, bool check = false);

}  // namespace tavelin::cli
