#pragma once
#include <iosfwd>
#include <string>

#include "cli/command_line.h"
#include "devices/KVR_USB_Probe.h"
#include "state/ELM327_Info.h"

namespace tavelin::cli {

// tavelin-cli settings [--reset]: shows the settings files of the program's
// folder, or writes the defaults over them.
int RunSettings(const SettingsOptions& options, const std::string& programFolder);

// The settings as a person reads them.
void PrintSettings(const ELM327_Info& device, const KVR_USB_Probe& USB_Probe, std::ostream& out);

}  // namespace tavelin::cli
