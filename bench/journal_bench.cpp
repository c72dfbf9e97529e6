// What the run journal costs: a logged pass of sixteen modules with and
// without it, and its batches (goal: at most 10% more at sampling 1 ms, no
// system call per row), and the recovery of 100,000 bit rows of sixteen
// modules (goal: under 2 s).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "devices/device_libraries.h"
#include "logging/Excel_OutputDB.h"
#include "logging/journal_format.h"
#include "logging/journal_recovery.h"
#include "logging/run_journal.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

fs::path Scratch(const std::string& what) {
  const fs::path folder =
      fs::temp_directory_path() / ("tavelin-" + what + "-" + std::to_string(getpid()));
  fs::create_directories(folder);
  return folder;
}

// Sixteen simulated modules, logged as bits into a csv buffer.
class LoggedBench {
 public:
  LoggedBench() : folder_(Scratch("journal-bench")) {
    std::ofstream file(folder_ / "sixteen.sim");
    for (int c = 0; c < 16; ++c) file << "usbio " << c << " prepared counter " << 7 + c << "\n";
    file.close();
    setenv("KVR_SIMULATION", (folder_ / "sixteen.sim").c_str(), 1);
    device.t_ViewCh = 1;
    device.t_LogSaveFormat = 2;
    device.t_LogSaveFilePath_mode = 2;
    device.t_LogSaveFilePath = folder_.string();
    usbIo.openDevice();
    log.csv_DB_Initialize(0, nullptr, usbIo, device);
  }
  ~LoggedBench() { fs::remove_all(folder_); }

  std::string Folder() const { return folder_.string(); }

  fs::path folder_;
  DeviceLibraries libraries{LoadKvr100(TAVELIN_BIN_DIR), LoadKvrUsbIo(TAVELIN_BIN_DIR),
                            LoadKvrUsbProbe(TAVELIN_BIN_DIR)};
  ELM327_Info device;
  USB_IO_IF usbIo{libraries.usbIo.api};
  Excel_OutputDB log{{NowLocal, [] {}, "", ""}};
};

// A pass that logs a row: read the modules and put the row into the
// buffer; with the journal also the row packed and kept. The journal's
// writes and syncs (one per 100 ms, one per second) are timed apart below:
// in a tight loop they would come a thousand times as often as at the
// fastest sampling (1 ms) and stand for nothing a run sees.
template <bool WithJournal>
void LoggedPass(benchmark::State& state) {
  LoggedBench bench;
  if (bench.usbIo.FindDevice != 16) state.SkipWithError("the simulation found no 16 modules");
  std::unique_ptr<RunJournal> journal;
  std::string why, row;
  if (WithJournal) {
    journal = RunJournal::Start(bench.Folder() + "/journal",
                                HeadOfRun(bench.device, bench.usbIo, nullptr, "", ""), why);
    if (!journal) state.SkipWithError(why.c_str());
  }
  double now = 0.0;
  for (auto _ : state) {
    now += 1.0;
    bench.usbIo.ReciveData();
    bench.log.Excel_DataInput(bench.usbIo, bench.device, now);
    if (WithJournal) {
      PackRow(journal->Head(), bench.usbIo, nullptr, row);
      journal->AddRow(now, row);
      journal->Flush(0.0);  // the test every pass makes; no batch is due
    }
    if (bench.log.Excel_DB_ArayyCounter > 20000) {  // as after a file
      state.PauseTiming();
      bench.log.csv_DB_Initialize(1, nullptr, bench.usbIo, bench.device);
      bench.log.Excel_DB_ArayyCounter = 0;
      if (WithJournal) journal->NoteFile({"SD26030214-001.csv", false, 20001, 0});
      state.ResumeTiming();
    }
  }
  if (WithJournal) journal->Finish();
  state.SetLabel("goal: with the journal at most 10% more, with its batches");
}
BENCHMARK_TEMPLATE(LoggedPass, false)->Name("LoggedPass/without_journal");
BENCHMARK_TEMPLATE(LoggedPass, true)->Name("LoggedPass/with_journal");

// The journal's part of a logged pass alone: the row packed from the
// tables of sixteen modules and kept.
void JournalRow(benchmark::State& state) {
  LoggedBench bench;
  std::string why, row;
  auto journal = RunJournal::Start(bench.Folder() + "/journal",
                                   HeadOfRun(bench.device, bench.usbIo, nullptr, "", ""), why);
  if (!journal) state.SkipWithError(why.c_str());
  bench.usbIo.ReciveData();
  double now = 0.0;
  int64_t rows = 0;
  for (auto _ : state) {
    PackRow(journal->Head(), bench.usbIo, nullptr, row);
    journal->AddRow(now += 1.0, row);
    journal->Flush(0.0);
    if (++rows == 20001) {
      state.PauseTiming();
      journal->NoteFile({"SD26030214-001.csv", false, rows, 0});
      rows = 0;
      state.ResumeTiming();
    }
  }
  journal->Finish();
}
BENCHMARK(JournalRow)->Name("JournalRow/pack_and_keep_16_modules");

// What the journal adds now and then: the write of a batch of 100 rows
// (100 ms at sampling 1 ms), and each second also the request for a sync,
// which a thread of the journal's own carries out.
template <int RowsPerBatch>
void JournalBatch(benchmark::State& state) {
  LoggedBench bench;
  std::string why, row;
  auto journal = RunJournal::Start(bench.Folder() + "/journal",
                                   HeadOfRun(bench.device, bench.usbIo, nullptr, "", ""), why);
  if (!journal) state.SkipWithError(why.c_str());
  PackRow(journal->Head(), bench.usbIo, nullptr, row);
  double now = 0.0;
  int64_t rows = 0;
  for (auto _ : state) {
    state.PauseTiming();
    for (int r = 0; r < RowsPerBatch; ++r) journal->AddRow(now + r, row);
    rows += RowsPerBatch;
    if (rows >= 20000) {
      journal->NoteFile({"SD26030214-001.csv", false, rows, 0});
      rows = 0;
    }
    now += RowsPerBatch;
    state.ResumeTiming();
    journal->Flush(now);
  }
  journal->Finish();
}
BENCHMARK_TEMPLATE(JournalBatch, 100)->Name("JournalBatch/write_of_100_rows");
BENCHMARK_TEMPLATE(JournalBatch, 1000)->Name("JournalBatch/write_of_1000_rows_and_sync_request");

// A leftover journal of 100,000 bit rows of sixteen modules, written as
// logs: five workbooks, or csv files.
template <int32_t Format>
void RecoverBitRows(benchmark::State& state) {
  const fs::path folder = Scratch("recover-bench");
  JournalHead head;
  head.viewCh = 1;
  head.logSaveFormat = Format;
  head.findDevice = 16;
  for (int16_t c = 0; c < 16; ++c) head.devices.push_back({c, std::to_string(c) + "Ch"});
  std::string bytes = EncodeHead(head);
  std::string values(16, '\0');
  for (int r = 0; r < 100000; ++r) {
    for (int c = 0; c < 16; ++c) values[static_cast<std::size_t>(c)] = static_cast<char>(r + c);
    AppendRow(bytes, r * 1.0, values);
  }
  const fs::path journal = folder / "leftover.journal";
  for (auto _ : state) {
    state.PauseTiming();
    std::ofstream(journal, std::ios::binary) << bytes;
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.path() != journal) fs::remove(entry.path());
    }
    state.ResumeTiming();
    const Recovery recovery =
        RecoverJournal(journal.string(), {NowLocal, [] {}, "", ""}, folder.string());
    if (recovery.rows != 100000) state.SkipWithError("not every row was recovered");
  }
  fs::remove_all(folder);
  state.counters["journal_MB"] = static_cast<double>(bytes.size()) / 1e6;
  state.SetLabel("goal: under 2 s");
}
BENCHMARK_TEMPLATE(RecoverBitRows, 1)
    ->Name("Recover/100000_bit_rows_xls")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK_TEMPLATE(RecoverBitRows, 2)
    ->Name("Recover/100000_bit_rows_csv")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

}  // namespace
}  // namespace tavelin
