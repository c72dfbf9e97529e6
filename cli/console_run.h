#pragma once
#include <functional>

#include "cli/console_boot.h"
#include "cli/run_options.h"
#include "sampling/FormBG.h"
#include "sampling/sampling_view.h"

namespace tavelin::cli {

// A sampling run driven from the console: Connect, the engine's loop, and
// Disconnect on Ctrl+C or when the given time is up. `onIdle` runs once a
// pass inside the pump, with the seconds since Connect.
struct RunSummary {
  double seconds = 0.0;
  int64_t rows = 0;           // rows logged
  int64_t rowsInFiles = 0;    // of them, rows written into files
  int64_t rowsDiscarded = 0;  // rows a csv rollover left out, as it must
  int32_t files = 0;
  // Rows no log file took (a log format no writer has), and the journal
  // that keeps them; 0 and empty when every row went into files.
  int64_t rowsKeptInJournal = 0;
  std::string journal;
};

// `onLogWritten` hears of every log file the run writes; `rows`, when
// given, takes every logged row beside the log.
RunSummary RunSampling(
    ConsoleSession& session, SamplingView& view, const RunOptions& options,
    const std::function<void(double elapsedSeconds, const FormBG& engine)>& onIdle,
    const std::function<void(const WrittenLog&)>& onLogWritten = nullptr,
    RowConsumer* rows = nullptr);

// Exit statuses of the console's runs besides 0, 1 (a file or the journal
// failed) and 2 (the command line).
inline constexpr int kNoDeviceStatus = 3;     // nothing to sample in the mode asked
inline constexpr int kRowsLeftOutStatus = 4;  // a csv rollover left rows out, as it must

// Why a run in `mode` would sample nothing (no module, or no probe, found:
// none plugged in, or a simulation file that cannot be read), with the way
// to connect one; empty when there is something to sample.
std::string NothingToSample(const ConsoleSession& session, int mode);

// The settings a run takes from the options over the stored ones.
void ApplyRunOptions(const RunOptions& options, ConsoleSession& session);

}  // namespace tavelin::cli
