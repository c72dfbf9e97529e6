#include "cli/devices_command.h"

#include <algorithm>
#include <array>
#include <iostream>

#include "cli/text_columns.h"
#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "sampling/run_start.h"

namespace tavelin::cli {
namespace {

// "backend\tpath" from a library's describe entry point; a library
// without one still tells which channels are in use.
template <typename Describe>
FoundDevice Described(Describe describe, int channel, bool probe) {
  FoundDevice found{"?", channel, probe, probe, "", ""};
  if (describe == nullptr) return found;
  char text[512];
  if (describe(channel, text, sizeof text) <= 0) return found;
  const std::string described = text;
  const std::size_t tab = described.find('\t');
  found.backend = described.substr(0, tab);
  if (tab == std::string::npos) return found;
  const std::size_t stateTab = described.find('\t', tab + 1);
  found.path = described.substr(tab + 1, stateTab - tab - 1);
  if (stateTab != std::string::npos) found.state = described.substr(stateTab + 1);
  return found;
}

}  // namespace

std::vector<FoundDevice> FindDevices(const UsbIoEntryPoints& usbIo,
                                     const UsbProbeEntryPoints& usbProbe) {
  std::vector<FoundDevice> devices;
  USB_IO_IF modules(usbIo);
  modules.Param_ALL_Clear();
  modules.openDevice();  // the prepared ones, as a run searches
  std::array<bool, 16> prepared{};
  for (int16_t c = 0; c < 16; ++c) prepared[static_cast<std::size_t>(c)] = modules.HidCh(c) >= 0;
  modules.closeAllDevice();
  modules.Param_ALL_Clear();
  modules.searchDevice();  // and every other, as the settings writer does
  for (int16_t c = 0; c < 16; ++c) {
    if (modules.HidCh(c) < 0) continue;
    devices.push_back(Described(usbIo.describe_USBIO, c, false));
    devices.back().prepared = prepared[static_cast<std::size_t>(c)];
  }
  modules.closeAllDevice();

  KVR_USB_Probe probes(usbProbe);
  probes.Param_ALL_Clear();
  probes.openDevice();
  for (int16_t c = 0; c < 8; ++c) {
    if (probes.HidCh(c) >= 0) devices.push_back(Described(usbProbe.describe_USBProbe, c, true));
  }
  probes.closeAllDevice();
  return devices;
}

// A mapped device's state as the user reads it.
std::string StateText(const std::string& state) {
  if (state == "ok") return "応答あり";
  if (state == "waiting") return "確認中";
  if (state.rfind("lost: ", 0) == 0) return "応答なし (" + state.substr(6) + ")";
  return state;
}

void PrintDevices(const std::vector<FoundDevice>& devices, std::ostream& out) {
  if (devices.empty()) {
    out << "デバイスは見つかりません\n";
    return;
  }
  std::size_t backendWidth = Columns("方式");
  std::size_t pathWidth = Columns("場所");
  bool anyState = false;
  for (const FoundDevice& d : devices) {
    backendWidth = std::max(backendWidth, Columns(d.backend));
    pathWidth = std::max(pathWidth, Columns(d.path));
    anyState = anyState || !d.state.empty();
  }
  const auto place = [&](const std::string& path) {
    return anyState ? Padded(path, pathWidth + 2) : path;
  };
  out << Padded("方式", backendWidth + 2) << "Ch  " << Padded("種類", 10) << Padded("準備", 6)
      << place("場所") << (anyState ? "状態" : "") << "\n";
  bool anyUnprepared = false;
  for (const FoundDevice& d : devices) {
    anyUnprepared = anyUnprepared || !d.prepared;
    out << Padded(d.backend, backendWidth + 2) << Padded(std::to_string(d.channel), 4)
        << Padded(d.probe ? "プローブ" : "USB-IO", 10)
        << Padded(d.probe      ? "-"
                  : d.prepared ? "済"
                               : "未",
                  6)
        << (d.state.empty() ? d.path : place(d.path) + StateText(d.state)) << "\n";
  }
  if (anyUnprepared) {
    out << "準備が未の USB-IO は記録に使われません。ツール → マイコン設定書込 で準備できます\n";
  }
}

int RunDevices(const std::string& programFolder, bool check) {
  try {
    const auto usbIo = LoadKvrUsbIo(DeviceLibraryFolder(programFolder));
    const auto usbProbe = LoadKvrUsbProbe(DeviceLibraryFolder(programFolder));
    const std::vector<FoundDevice> devices = FindDevices(usbIo.api, usbProbe.api);
    PrintDevices(devices, std::cout);
    if (devices.empty()) {
      std::cerr << kConnectDeviceHint << "\n";
    }
    const bool allAnswer = std::all_of(devices.begin(), devices.end(),
                                       [](const FoundDevice& d) { return d.Answers(); });
    return check && !allAnswer ? 1 : 0;
  } catch (const LibraryError& error) {
    std::cerr << "tavelin-cli devices: " << error.what() << "\n";
    return 1;
  }
}

}  // namespace tavelin::cli
