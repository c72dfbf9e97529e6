#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "devices/KVR_USB_Probe.h"
#include "state/ELM327_Info.h"

namespace tavelin::FileSaveSystem {

inline constexpr const char* kConfigFile = "config.dat";
inline constexpr const char* kChSetFile = "ch_set.dat";
inline constexpr const char* kAnSetFile = "an_set.dat";

// Results of the readers: read and applied; no file; a file of another
// version, deleted; an error though every field that could be was applied.
inline constexpr int32_t kRead = 0;
inline constexpr int32_t kNoFile = -1;
inline constexpr int32_t kOtherVersion = -2;
inline constexpr int32_t kReadWithError = -3;
// Results of the writers.
inline constexpr int32_t kWritten = 0;
inline constexpr int32_t kWriteFailed = -1;

// Each reader reads its file in `folder`, trapping every error: whatever
// the bytes, it never throws. Each writer writes one record from the start
// of the file without cutting what lies behind it.
int32_t Read_Config(ELM327_Info& device, const std::string& folder);
int32_t Write_Config(const ELM327_Info& device, const std::string& folder);
int32_t Read_ChSet(ELM327_Info& device, const std::string& folder);
int32_t Write_ChSet(const ELM327_Info& device, const std::string& folder);
int32_t Read_AnSet(KVR_USB_Probe& USB_Probe, const std::string& folder);
int32_t Write_AnSet(const KVR_USB_Probe& USB_Probe, const std::string& folder);

// The records as bytes. The readers give kRead, kOtherVersion (nothing
// applied) or kReadWithError; the writers set `failed` on a cut text.
int32_t ApplyConfigRecord(std::string_view bytes, ELM327_Info& device);
int32_t ApplyChSetRecord(std::string_view bytes, ELM327_Info& device);
int32_t ApplyAnSetRecord(std::string_view bytes, KVR_USB_Probe& USB_Probe);
std::string ConfigRecord(const ELM327_Info& device, bool& failed);
std::string ChSetRecord(const ELM327_Info& device, bool& failed);
std::string AnSetRecord(const KVR_USB_Probe& USB_Probe, bool& failed);

}  // namespace tavelin::FileSaveSystem
