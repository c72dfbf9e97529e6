#pragma once
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "logging/Excel_OutputDB.h"
#include "logging/log_environment.h"
#include "platform/code_page.h"
#include "support/simulation.h"

namespace tavelin::test {

// Device layers whose tables a test fills by hand; no library is called.
struct HandFilledDevices {
  USB_IO_IF USB_IO{UsbIoEntryPoints{}};
  KVR_USB_Probe USB_Probe{UsbProbeEntryPoints{}};

  void PlugModules(std::initializer_list<int16_t> channels) {
    for (int16_t c : channels) USB_IO.HidCh(c) = 0;
    USB_IO.FindDevice = static_cast<int16_t>(channels.size());
  }
  void PlugProbes(std::initializer_list<int16_t> probes) {
    for (int16_t d : probes) USB_Probe.HidCh(d) = 0;
    USB_Probe.FindDevice = static_cast<int32_t>(probes.size());
  }

  // A run's log of the view `device` names: its header, a row at each of
  // `times` (`perRow` first sets the inputs of row n), then buffer 1 written.
  void LogAndWrite(Excel_OutputDB& log, ELM327_Info& device, const std::vector<double>& times,
                   const std::function<void(int row)>& perRow = {}) {
    log.csv_DB_Initialize(0, &USB_Probe, USB_IO, device);
    for (std::size_t row = 0; row < times.size(); ++row) {
      if (perRow) perRow(static_cast<int>(row));
      if (device.t_ViewCh == 4) {
        log.Excel_AN_DataInput(USB_Probe, USB_IO, device, times[row]);
      } else {
        log.Excel_DataInput(USB_IO, device, times[row]);
      }
    }
    std::string date, number;
    log.Excel_DataOutput(1, &USB_Probe, USB_IO, device, date, number, "");
  }
};

// Log folders in a temp folder and a clock the test sets.
struct LogBench {
  TempFolder program;
  TempFolder desktop;
  LocalTime now{2026, 3, 2, 14, 5, 9};
  int yields = 0;

  LogEnvironment Environment() {
    return {[this] { return now; }, [this] { ++yields; }, program.Path().string(),
            desktop.Path().string()};
  }
};

inline std::string ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline std::string ReadLog(const std::filesystem::path& path) {
  return FromCodePage(ReadBytes(path));
}

}  // namespace tavelin::test
