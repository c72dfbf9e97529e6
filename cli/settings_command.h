#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "devices/KVR_USB_Probe.h"
#include "state/ELM327_Info.h"

namespace tavelin::cli {

// tavelin-cli settings [--reset]: shows the settings files of the program's
// folder, or writes the defaults over them.
int RunSettings(const std::vector<std::string>& args, const std::string& programFolder);

// The settings as a person reads them.
void PrintSettings(const ELM327_Info& device, const KVR_USB_Probe& USB_Probe, std::ostream& out);

}  // namespace tavelin::cli
