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

void Text(std::string& out, const std::string& text) {
  le::U32(out, static_cast<uint32_t>(text.size()));
  out += text;
}

// The next text of `bytes` at `at`, or none past the end.
std::optional<std::string> TakeText(std::string_view bytes, std::size_t& at) {
  if (bytes.size() - at < 4) return std::nullopt;
  uint32_t length = 0;
  for (int i = 0; i < 4; ++i) length |= uint32_t{static_cast<uint8_t>(bytes[at + i])} << (8 * i);
  at += 4;
  if (bytes.size() - at < length) return std::nullopt;
  std::string text(bytes.substr(at, length));
  at += length;
  return text;
}

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
  Text(bytes, settingsFolder_);
  Text(bytes, records.config);
  Text(bytes, records.chSet);
  Text(bytes, records.anSet);
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
  std::ifstream in(path_, std::ios::binary);
  std::string bytes(size, '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(size));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  if (bytes.size() < sizeof kMagic + 2 + 4 || bytes.compare(0, 4, kMagic, 4) != 0) {
    return std::nullopt;
  }
  const std::string_view body = std::string_view(bytes).substr(0, bytes.size() - 4);
  uint32_t crc = 0;
  for (int i = 0; i < 4; ++i) {
    crc |= uint32_t{static_cast<uint8_t>(bytes[body.size() + i])} << (8 * i);
  }
  const bool version = static_cast<uint8_t>(bytes[4]) == kVersion && bytes[5] == 0;
  if (!version || Crc32c(body) != crc) return std::nullopt;
  std::size_t at = 6;
  const auto folder = TakeText(body, at);
  auto config = TakeText(body, at);
  auto chSet = TakeText(body, at);
  auto anSet = TakeText(body, at);
  if (!folder || *folder != settingsFolder_ || !config || !chSet || !anSet || at != body.size()) {
    return std::nullopt;
  }
  return SettingsRecords{std::move(*config), std::move(*chSet), std::move(*anSet)};
}

void SettingsKeptAside::Drop() const {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove(path_, ignored);
}

}  // namespace tavelin
