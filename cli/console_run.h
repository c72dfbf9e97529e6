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
  int64_t rows = 0;
  int32_t files = 0;
};

RunSummary RunSampling(
    ConsoleSession& session, SamplingView& view, const RunOptions& options,
    const std::function<void(double elapsedSeconds, const FormBG& engine)>& onIdle);

// The settings a run takes from the options over the stored ones.
void ApplyRunOptions(const RunOptions& options, ConsoleSession& session);

}  // namespace tavelin::cli
