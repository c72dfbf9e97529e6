// Opening a ten-hour run in the trend: 1,800 workbooks of 20,001 rows, 24
// analog inputs logged every millisecond (goals: the whole run shown within
// 10 s, under 256 MB for it), and the rows of one second read back for a
// narrow view. The run is written once into the folder (7 GB), then read.
//
//     tavelin_past_run_bench [FOLDER [FILES]]   (default /var/tmp/tavelin-past-run, 1800)
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "logging/Excel_OutputDB.h"
#include "trend/past_run.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

constexpr int kRows = 20001;
constexpr int kProbes = 4;
constexpr int kNamesAnHour = 99;  // past 099 a name would be written over

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

long PeakKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6));
  }
  return 0;
}

// The run as the program writes it: file k holds rows k * 20,001 on, a
// millisecond apart; the clock's hour moves on every 99 files.
void WriteRun(const fs::path& folder, int files) {
  fs::create_directories(folder);
  int file = 0;
  ELM327_Info device;
  device.t_ViewCh = 4;
  device.t_LogSaveFormat = 1;
  device.ExcelInstallCheck = 1;
  device.t_LogSaveFilePath_mode = 2;
  device.t_LogSaveFilePath = folder.string();
  USB_IO_IF usbIo;
  KVR_USB_Probe probes;
  for (int16_t d = 0; d < kProbes; ++d) probes.HidCh(d) = d;
  probes.FindDevice = kProbes;
  const auto clock = [&file] { return LocalTime{2026, 11, 24, file / kNamesAnHour, 0, 0}; };
  Excel_OutputDB log({clock, [] {}, folder.string(), ""});
  log.objExcel = std::make_shared<ExcelApplication>();
  for (; file < files; ++file) {
    log.Param_ALL_Clear();
    log.csv_DB_Initialize(0, &probes, usbIo, device);
    for (int row = 0; row < kRows; ++row) {
      const long n = static_cast<long>(file) * kRows + row;
      for (int16_t pin = 0; pin < kProbes * 6; ++pin)
        probes.USBProbe_Value(pin) = static_cast<double>((n * (pin + 1)) % 4096);
      log.Excel_AN_DataInput(probes, usbIo, device, static_cast<double>(n));
    }
    std::string date, number;
    log.Excel_DataOutput(1, &probes, usbIo, device, date, number, "");
    if (file % 100 == 99) std::fprintf(stderr, "written %d of %d files\n", file + 1, files);
  }
}

int Main(int argc, char** argv) {
  const fs::path folder = argc > 1 ? argv[1] : "/var/tmp/tavelin-past-run";
  const int files = argc > 2 ? std::atoi(argv[2]) : 1800;
  std::size_t present = 0;
  if (fs::is_directory(folder))
    present = static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
  if (present != static_cast<std::size_t>(files)) {
    fs::remove_all(folder);
    std::fprintf(stderr, "writing the run of %d workbooks into %s...\n", files, folder.c_str());
    WriteRun(folder, files);
    // Read in a process of its own: the writer's memory is not the trend's.
    execv("/proc/self/exe", argv);
    return 1;
  }
  std::string first;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (first.empty() || entry.path().string() < first) first = entry.path().string();
  }
  const long before = PeakKilobytes();
  const auto start = std::chrono::steady_clock::now();
  const PastRun run = ReadPastRun(first);
  const double opened = Seconds(start);
  std::printf("PastRun/%zu_workbooks: %zu rows, %zu traces in %.1f s (goal: within 10 s)\n",
              run.files.size(), run.rows, run.traces.Labels().size(), opened);
  std::printf(
      "  traces %.0f MB, blocks of %zu rows; the process's peak %.0f MB (%.0f MB before) "
      "(goal: under 256 MB)\n",
      static_cast<double>(run.traces.MemoryBytes()) / 1e6, run.traces.Block(),
      static_cast<double>(PeakKilobytes()) / 1e3, static_cast<double>(before) / 1e3);
  const double middle = (run.traces.FirstMs() + run.traces.LastMs()) / 2;
  const auto back = std::chrono::steady_clock::now();
  const auto detail = ReadDetail(run.files, run.traces.Labels(), middle - 500, middle + 500);
  std::printf("  one second in the middle read back: %zu rows in %.0f ms\n",
              detail != nullptr ? detail->Samples() : 0, Seconds(back) * 1e3);
  if (!run.problem.empty()) std::printf("  %s\n", run.problem.c_str());
  return run.files.size() == static_cast<std::size_t>(files) ? 0 : 1;
}

}  // namespace
}  // namespace tavelin

int main(int argc, char** argv) {
  return tavelin::Main(argc, argv);
}
