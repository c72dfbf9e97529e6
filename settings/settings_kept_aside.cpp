#include "settings/settings_kept_aside.h"

#include <filesystem>
#include <fstream>

#include "platform/crc32c.h"
#include "platform/file_system.h"
#include "platform/little_endian.h"
#include "settings/FileSaveSystem.h"

namespace tavelin {
namespace {

//   "TAVS" version(u16) then four texts, each a u32 byte count and its
//   bytes: the settings folder, config.dat, ch_set.dat, an_set.dat; then
//   the CRC-32C of everything before it.
constexpr char kMagic[4] = {'T', 'A', 'V', 'S'};
constexpr uint16_t kVersion = 1;
constexpr std::size_t kLargest = FileSaveSystem::kConfigMaxBytes + FileSaveSystem::kChSetMaxBytes +
                                 FileSaveSystem::kAnSetMaxBytes + (1 << 16);

}  // namespace

SettingsRecords RecordsOf(const ELM327_Info& device, const KVR_USB_Probe& USB_Probe) {
  bool failed = false;
  return {FileSaveSystem::ConfigRecord(device, failed), FileSaveSystem::ChSetRecord(device, failed),
          FileSaveSystem::AnSetRecord(USB_Probe, failed)};
}

void ApplyRecords(const SettingsRecords& records, ELM327_Info& device, KVR_USB_Probe& USB_Probe) {
  FileSaveSystem::ApplyConfigRecord(records.config, device);
  FileSaveSystem::ApplyChSetRecord(records.chSet, device);
  FileSaveSystem::ApplyAnSetRecord(records.anSet, USB_Probe);
}

SettingsKeptAside::SettingsKeptAside(std::string stateFolder, std::string settingsFolder)
    : stateFolder_(std::move(stateFolder)),
      settingsFolder_(std::move(settingsFolder)),
      path_(stateFolder_.empty()
                ? std::string()
                : stateFolder_ + "/unsaved-settings-" + std::to_string(Crc32c(settingsFolder_))) {}

bool SettingsKeptAside::Keep(const SettingsRecords& records) const {
  if (path_.empty()) return false;
  std::string bytes(kMagic, sizeof kMagic);
  le::U16(bytes, kVersion);
  le::Text(bytes, settingsFolder_);
  le::Text(bytes, records.config);
  le::Text(bytes, records.chSet);
  le::Text(bytes, records.anSet);
  le::U32(bytes, Crc32c(bytes));
  try {
    std::error_code ignored;
    std::filesystem::create_directories(stateFolder_, ignored);
    TextStream file = CreateTextFile(path_);
    file.Write(bytes);
    file.Close();
    return true;
  } catch (const FileError&) {
    return false;
  }
}

std::optional<SettingsRecords> SettingsKeptAside::Kept() const {
  if (path_.empty()) return std::nullopt;
  std::error_code error;
  const auto size = std::filesystem::file_size(path_, error);
  if (error || size > kLargest) return std::nullopt;
  std::ifstream file(path_, std::ios::binary);
  std::string bytes(size, '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(size));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  if (bytes.size() < 4) return std::nullopt;
  const std::string_view body = std::string_view(bytes).substr(0, bytes.size() - 4);
  le::Reader crc(std::string_view(bytes).substr(body.size()));
  if (crc.Number<uint32_t>() != Crc32c(body)) return std::nullopt;
  le::Reader in(body);
  const auto magic = in.Take(sizeof kMagic);
  const auto version = in.Number<uint16_t>();
  const auto folder = in.Text(kLargest);
  auto config = in.Text(kLargest);
  auto chSet = in.Text(kLargest);
  auto anSet = in.Text(kLargest);
  if (!magic || *magic != std::string_view(kMagic, sizeof kMagic) || version != kVersion ||
      folder != settingsFolder_ || !config || !chSet || !anSet || in.Left() != 0) {
    return std::nullopt;
  }
  return SettingsRecords{std::move(*config), std::move(*chSet), std::move(*anSet)};
}

void SettingsKeptAside::Drop() const {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove(path_, ignored);
}

}  // namespace tavelin
