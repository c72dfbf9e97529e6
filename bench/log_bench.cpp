// The cost of a log row of each kind (goal for the bit kind with sixteen
// channels: under 1 us) and of the end-of-run file of a full buffer, against
// one fwrite of the same bytes (goal: within 1.5 times of it).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "logging/Excel_OutputDB.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

struct LogBench {
  LogBench() {
    folder = fs::temp_directory_path() / ("tavelin-log-bench-" + std::to_string(getpid()));
    fs::create_directories(folder);
    for (int16_t c = 0; c < 16; ++c) {
      usbIo.HidCh(c) = c;
      usbIo.USBIO_Value(c) = 1000.0 / (c + 3);
      for (int16_t k = 0; k < 8; ++k) usbIo.USBIO_J1_MakeData_Bit(c * 8 + k) = (c + k) & 1;
    }
    usbIo.FindDevice = 16;
    for (int16_t d = 0; d < 8; ++d) probe.HidCh(d) = d;
    for (int16_t p = 0; p < 48; ++p) probe.USBProbe_Value(p) = 4095.0 * p / 47.0;
    probe.FindDevice = 8;
    device.t_LogSaveFormat = 2;
    device.t_LogSaveFilePath_mode = 2;
    device.t_LogSaveFilePath = folder.string();
  }
  ~LogBench() { fs::remove_all(folder); }

  Excel_OutputDB Log() {
    return Excel_OutputDB({NowLocal, [] {}, folder.string(), ""});
  }

  fs::path folder;
  ELM327_Info device;
  USB_IO_IF usbIo{UsbIoEntryPoints{}};
  KVR_USB_Probe probe{UsbProbeEntryPoints{}};
};

template <int Mode>
void AppendRow(benchmark::State& state) {
  LogBench bench;
  bench.device.t_ViewCh = Mode;
  Excel_OutputDB log = bench.Log();
  log.csv_DB_Initialize(0, &bench.probe, bench.usbIo, bench.device);
  double now = 0.0;
  for (auto _ : state) {
    now += 300.125;
    if (Mode == 4) {
      log.Excel_AN_DataInput(bench.probe, bench.usbIo, bench.device, now);
    } else {
      log.Excel_DataInput(bench.usbIo, bench.device, now);
    }
    if (log.Excel_DB_ArayyCounter > 20000) {  // start again, as after a file
      state.PauseTiming();
      log.csv_DB_Initialize(1, &bench.probe, bench.usbIo, bench.device);
      log.Excel_DB_ArayyCounter = 0;
      state.ResumeTiming();
    }
  }
}
BENCHMARK_TEMPLATE(AppendRow, 1)->Name("AppendRow/bit_16_channels")->Unit(benchmark::kNanosecond);
BENCHMARK_TEMPLATE(AppendRow, 3)->Name("AppendRow/value_16_channels");
BENCHMARK_TEMPLATE(AppendRow, 4)->Name("AppendRow/analog_8_probes");

// A full buffer of the bit kind written as the end-of-run file, beside the
// same bytes written with one fwrite.
void EndOfRunFile(benchmark::State& state) {
  LogBench bench;
  bench.device.t_ViewCh = 1;
  Excel_OutputDB log = bench.Log();
  double fileSeconds = 0.0;
  double boundSeconds = 0.0;
  std::size_t bytes = 0;
  for (auto _ : state) {
    state.PauseTiming();
    log.csv_DB_Initialize(0, &bench.probe, bench.usbIo, bench.device);
    log.Excel_DB_ArayyCounter = 0;
    for (int row = 0; row <= 20000; ++row)
      log.Excel_DataInput(bench.usbIo, bench.device, row * 300.0);
    const std::string same = log.csv_Header_Top + "2026/01/01 0:00:00" + log.csv_Header_Bottom +
                             std::string(log.csv_DB1.View());
    bytes = same.size();
    for (const auto& entry : fs::directory_iterator(bench.folder)) fs::remove(entry.path());
    state.ResumeTiming();

    auto start = std::chrono::steady_clock::now();
    std::string date, number;
    log.Excel_DataOutput(1, &bench.probe, bench.usbIo, bench.device, date, number, "");
    fileSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    state.PauseTiming();
    start = std::chrono::steady_clock::now();
    std::FILE* file = std::fopen((bench.folder / "bound.csv").c_str(), "wb");
    std::fwrite(same.data(), 1, same.size(), file);
    std::fclose(file);
    boundSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.ResumeTiming();
  }
  state.counters["MB"] = static_cast<double>(bytes) / 1e6;
  state.counters["fwrite_ms"] = boundSeconds * 1e3 / static_cast<double>(state.iterations());
  state.counters["ratio"] = fileSeconds / boundSeconds;
  state.SetLabel("goal: ratio within 1.5");
}
BENCHMARK(EndOfRunFile)->Unit(benchmark::kMillisecond)->Iterations(8);

}  // namespace
}  // namespace tavelin

namespace tavelin {
namespace {

// A spreadsheet row of the bit kind with sixteen channels: 129 texts.
void AppendSpreadsheetRow(benchmark::State& state) {
  LogBench bench;
  bench.device.t_ViewCh = 1;
  bench.device.t_LogSaveFormat = 1;
  Excel_OutputDB log = bench.Log();
  double now = 0.0;
  for (auto _ : state) {
    now += 300.125;
    log.Excel_DataInput(bench.usbIo, bench.device, now);
    if (log.Excel_DB_ArayyCounter > 20000) {  // emptied, as after a file
      state.PauseTiming();
      log.Time_ID_DLC_Data1().Clear();
      log.Excel_DB_ArayyCounter = 0;
      state.ResumeTiming();
    }
  }
}
BENCHMARK(AppendSpreadsheetRow)->Name("AppendRow/spreadsheet_bit_16_channels");

}  // namespace
}  // namespace tavelin
