#pragma once
#include <functional>

#include "cli/console_boot.h"
#include "cli/run_options.h"
#include "sampling/sampling_view.h"

namespace tavelin::cli {

// A sampling run driven from the console: Connect, the engine's loop, and
// Disconnect on Ctrl+C or when the given time is up. `onIdle` runs once a
// pass inside the pump, with the seconds since Connect.
void RunSampling(ConsoleSession& session, SamplingView& view, const RunOptions& options,
                 const std::function<void(double elapsedSeconds)>& onIdle);

}  // namespace tavelin::cli
