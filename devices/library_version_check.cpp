#include "devices/library_version_check.h"

#include <filesystem>

#include "kvr_export.h"

namespace tavelin {
namespace {

constexpr const char* kQuit = "アプリケーションを終了します。";

std::string Lines(const std::string& a, const std::string& b, const std::string& c) {
  return a + "\n" + b + "\n" + c;
}

std::string NotFound(const std::string& file) {
  return Lines(file + " が見つかりません。", file + " は同梱のものを使用してください。", kQuit);
}

std::string WrongVersion(const std::string& file) {
  return Lines(file + " のバージョンが異なります。", file + " は同梱のものを使用してください。",
               kQuit);
}

template <typename Function>
std::string VersionOf(Function versionEntryPoint) {
  char buffer[KVR_VERSION_BUFFER_SIZE + 1] = {};
  versionEntryPoint(buffer);
  buffer[KVR_VERSION_BUFFER_SIZE] = '\0';
  return CleanVersionText(buffer);
}

}  // namespace

std::string CleanVersionText(const char* buffer) {
  std::string text;
  for (int i = 0; i < KVR_VERSION_BUFFER_SIZE; ++i) {
    if (buffer[i] != '\0') text += buffer[i];
  }
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

LibraryVersionCheck CheckLibraryVersions(const ELM327_Info& device, const std::string& folder,
                                         const CriticalMessage& showMessage) {
  LibraryVersionCheck check;
  const auto exists = [&](const char* file) {
    return std::filesystem::exists(std::filesystem::path(folder) / file);
  };
  const auto refuse = [&](const std::string& message) {
    showMessage(message);
    check.result = -1;
    return std::move(check);
  };
  try {
    if (!exists(kKvr100File)) return refuse(NotFound(kKvr100File));
    auto kvr100 = LoadKvr100(folder);
    if (VersionOf(kvr100.api.kr_Version) != device.kvr100_DLL_Version) {
      return refuse(WrongVersion(kKvr100File));
    }
    if (!exists(kKvrUsbIoFile)) return refuse(NotFound(kKvrUsbIoFile));
    auto usbIo = LoadKvrUsbIo(folder);
    if (VersionOf(usbIo.api.kr_usbio_Version) != device.kvr_usb_io_DLL_Version) {
      return refuse(WrongVersion(kKvrUsbIoFile));
    }
    // The probe library is not looked for: a missing one fails to open.
    auto usbProbe = LoadKvrUsbProbe(folder);
    if (VersionOf(usbProbe.api.kr_usbprobe_Version) != device.kr_usbprobe_Version) {
      return refuse(WrongVersion(kKvrUsbProbeFile));
    }
    check.libraries.emplace(
        DeviceLibraries{std::move(kvr100), std::move(usbIo), std::move(usbProbe)});
    check.result = 1;
  } catch (const LibraryError& error) {
    check.result = 0;
    check.failure = error.what();
  }
  return check;
}

}  // namespace tavelin
