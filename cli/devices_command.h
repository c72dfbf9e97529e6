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
};

// Every module (prepared or not) and every probe the libraries find now.
std::vector<FoundDevice> FindDevices(const UsbIoEntryPoints& usbIo,
                                     const UsbProbeEntryPoints& usbProbe);

void PrintDevices(const std::vector<FoundDevice>& devices, std::ostream& out);

// tavelin-cli devices: what stands at the bench, for a user wiring it.
int RunDevices(const std::string& programFolder);

}  // namespace tavelin::cli
