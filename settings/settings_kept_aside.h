#pragma once
#include <optional>
#include <string>

#include "devices/KVR_USB_Probe.h"
#include "state/ELM327_Info.h"

namespace tavelin {

// The three settings records as the program would write them at its end.
struct SettingsRecords {
  std::string config, chSet, anSet;
  bool operator==(const SettingsRecords&) const = default;
};

SettingsRecords RecordsOf(const ELM327_Info& device, const KVR_USB_Probe& USB_Probe);
// The records back into memory, as the readers apply the files.
void ApplyRecords(const SettingsRecords& records, ELM327_Info& device, KVR_USB_Probe& USB_Probe);

// Settings changed in memory since the three files were written, kept
// aside in the state folder so that a crash or a power cut does not lose
// them. The three files themselves are written only at the program's end,
// as always; that end drops what was kept aside. A side record belongs to
// the settings folder it was kept for.
class SettingsKeptAside {
 public:
  // In `stateFolder`, for the settings of `settingsFolder`.
  SettingsKeptAside(std::string stateFolder, std::string settingsFolder);

  // Written whole or not at all. False when the state folder refuses it.
  bool Keep(const SettingsRecords& records) const;
  // What was kept for this settings folder and never saved, or none (also
  // for a record damaged or kept for another folder).
  std::optional<SettingsRecords> Kept() const;
  void Drop() const;

  const std::string& Path() const { return path_; }

 private:
  std::string stateFolder_;
  std::string settingsFolder_;
  std::string path_;
};

}  // namespace tavelin
