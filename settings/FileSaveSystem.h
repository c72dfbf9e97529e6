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

// What a reader does with a file of another version: the program deletes
// it, and writes its defaults at exit; a look at the settings keeps it.
enum class OtherVersion { Delete, Keep };

// Each reader reads its file in `folder`, trapping every error: whatever
// the bytes, it never throws, and it reads no more of the file than the
// largest record can hold. Each writer writes one record from the start of
// the file without cutting what lies behind it.
int32_t Read_Config(ELM327_Info& device, const std::string& folder,
                    OtherVersion otherVersion = OtherVersion::Delete);
int32_t Write_Config(const ELM327_Info& device, const std::string& folder);
int32_t Read_ChSet(ELM327_Info& device, const std::string& folder,
                   OtherVersion otherVersion = OtherVersion::Delete);
int32_t Write_ChSet(const ELM327_Info& device, const std::string& folder);
int32_t Read_AnSet(KVR_USB_Probe& USB_Probe, const std::string& folder,
                   OtherVersion otherVersion = OtherVersion::Delete);
int32_t Write_AnSet(const KVR_USB_Probe& USB_Probe, const std::string& folder);

// The largest record of each file: its numbers and every text at the
// longest its 16-bit count allows.
inline constexpr std::size_t kLongestText = 2 + 65535;
inline constexpr std::size_t kConfigMaxBytes = 68 + 6 * (kLongestText - 2);
inline constexpr std::size_t kChSetMaxBytes = 2356 + 148 * (kLongestText - 2);
inline constexpr std::size_t kAnSetMaxBytes = 2088 + 60 * (kLongestText - 2);

// The records as bytes. The readers give kRead, kOtherVersion (nothing
// applied) or kReadWithError; the writers set `failed` on a cut text.
int32_t ApplyConfigRecord(std::string_view bytes, ELM327_Info& device);
int32_t ApplyChSetRecord(std::string_view bytes, ELM327_Info& device);
int32_t ApplyAnSetRecord(std::string_view bytes, KVR_USB_Probe& USB_Probe);
std::string ConfigRecord(const ELM327_Info& device, bool& failed);
std::string ChSetRecord(const ELM327_Info& device, bool& failed);
std::string AnSetRecord(const KVR_USB_Probe& USB_Probe, bool& failed);

}  // namespace tavelin::FileSaveSystem
