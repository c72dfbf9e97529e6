// Writing one full spreadsheet log: 20,001 rows of the bit kind with 16
// channels (129 columns), and of the value kind (goal: under 200 ms each).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>

#include "logging/Excel_OutputDB.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

template <int Mode>
void FullWorkbook(benchmark::State& state) {
  const fs::path folder =
      fs::temp_directory_path() / ("tavelin-xls-bench-" + std::to_string(getpid()));
  fs::create_directories(folder);
  ELM327_Info device;
  device.t_ViewCh = Mode;
  device.t_LogSaveFormat = 1;
  device.ExcelInstallCheck = 1;
  device.t_LogSaveFilePath_mode = 2;
  device.t_LogSaveFilePath = folder.string();
  USB_IO_IF usbIo;
  for (int16_t c = 0; c < 16; ++c) usbIo.HidCh(c) = c;
  usbIo.FindDevice = 16;
  Excel_OutputDB log({NowLocal, [] {}, folder.string(), ""});
  log.objExcel = std::make_shared<ExcelApplication>();
  std::size_t bytes = 0;
  for (auto _ : state) {
    state.PauseTiming();
    log.Param_ALL_Clear();
    log.csv_DB_Initialize(0, nullptr, usbIo, device);
    for (int row = 0; row <= 20000; ++row) {
      for (int16_t s = 0; s < 128; ++s) usbIo.USBIO_J1_MakeData_Bit(s) = (row + s) % 3 == 0;
      for (int16_t c = 0; c < 16; ++c) usbIo.USBIO_Value(c) = row * 0.25 - c;
      log.Excel_DataInput(usbIo, device, row * 300.0 + 0.125);
    }
    for (const auto& entry : fs::directory_iterator(folder)) fs::remove(entry.path());
    state.ResumeTiming();
    std::string date, number;
    log.Excel_DataOutput(1, nullptr, usbIo, device, date, number, "");
    state.PauseTiming();
    for (const auto& entry : fs::directory_iterator(folder)) bytes = fs::file_size(entry.path());
    state.ResumeTiming();
  }
  fs::remove_all(folder);
  state.counters["MB"] = static_cast<double>(bytes) / 1e6;
  state.SetLabel("goal: under 200 ms");
}
BENCHMARK_TEMPLATE(FullWorkbook, 1)
    ->Name("XlsFile/bit_16_channels")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK_TEMPLATE(FullWorkbook, 3)
    ->Name("XlsFile/value_16_channels")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

}  // namespace
}  // namespace tavelin

#include <malloc.h>

namespace tavelin {
namespace {

// Both spreadsheet buffers full with the bit kind of sixteen channels: the
// heap they take (goal: under 40 MB together).
void BothBuffersFull(benchmark::State& state) {
  USB_IO_IF usbIo;
  for (int16_t c = 0; c < 16; ++c) usbIo.HidCh(c) = c;
  usbIo.FindDevice = 16;
  ELM327_Info device;
  device.t_ViewCh = 1;
  device.t_LogSaveFormat = 1;
  double megabytes = 0.0;
  for (auto _ : state) {
    const std::size_t before = mallinfo2().uordblks;
    auto log = std::make_unique<Excel_OutputDB>(LogEnvironment{NowLocal, [] {}, "", ""});
    for (int buffer = 1; buffer <= 2; ++buffer) {
      log->Excel_DB_ArayyCh = buffer;
      log->Excel_DB_ArayyCounter = 0;
      for (int row = 0; row <= 20000; ++row) {
        for (int16_t s = 0; s < 128; ++s) usbIo.USBIO_J1_MakeData_Bit(s) = (row + s) & 1;
        log->Excel_DataInput(usbIo, device, row * 300.0 + 0.125);
      }
    }
    megabytes = static_cast<double>(mallinfo2().uordblks - before) / 1e6;
  }
  state.counters["buffers_MB"] = megabytes;
  state.SetLabel("goal: under 40 MB");
}
BENCHMARK(BothBuffersFull)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace tavelin
