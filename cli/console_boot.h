#pragma once
#include <iosfwd>
#include <memory>
#include <string>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "devices/device_libraries.h"
#include "state/ELM327_Info.h"

namespace tavelin::cli {

// What the program holds after its start: the store, the libraries and the
// two device layers with their devices opened.
struct ConsoleSession {
  ConsoleSession(std::string folder, std::string writable, DeviceLibraries libs)
      : programFolder(std::move(folder)),
        writableFolder(std::move(writable)),
        libraries(std::move(libs)),
        USB_IO(libraries.usbIo.api),
        USB_Probe(libraries.usbProbe.api) {}

  std::string programFolder;
  // The settings files and logs of mode 0 (see WritableFolder).
  std::string writableFolder;
  ELM327_Info device;
  DeviceLibraries libraries;
  USB_IO_IF USB_IO;
  KVR_USB_Probe USB_Probe;
};

// The start of the program, as far as a console needs it: the store's
// defaults, the library check, the settings files, the device searches and
// the look for the workbook application. Messages go to
// `errors`; empty when the program cannot go on.
std::unique_ptr<ConsoleSession> BootConsole(const std::string& programFolder, std::ostream& errors);

}  // namespace tavelin::cli
