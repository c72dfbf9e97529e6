#include "cli/monitor_command.h"

#include <unistd.h>

#include <iostream>

#include "cli/console_run.h"
#include "cli/terminal_view.h"

namespace tavelin::cli {
namespace {

constexpr double kRedrawSeconds = 0.1;

// Each line cleared to its end, so a shorter line leaves nothing behind.
std::string ClearingLineEnds(const std::string& screen) {
  std::string out;
  out.reserve(screen.size() + 256);
  for (char c : screen) {
    if (c == '\n') out += "\x1b[K";
    out += c;
  }
  return out;
}

}  // namespace

int RunMonitor(const RunOptions& options, const std::string& programFolder) {
  auto session = BootConsole(programFolder, std::cerr);
  if (!session) return 1;
  session->device.t_LogSave_Enable = 0;  // showing, not recording
  if (const std::string nothing = NothingToSample(*session, options.mode); !nothing.empty()) {
    std::cerr << "tavelin-cli monitor: " << nothing << "\n";
    return kNoDeviceStatus;
  }

  TerminalView view(session->device, session->USB_IO, session->USB_Probe);
  const bool terminal = isatty(STDOUT_FILENO) != 0;
  double drawnAt = -kRedrawSeconds;
  double lastElapsed = 0.0;
  if (terminal) std::cout << "\x1b[?25l\x1b[2J" << std::flush;
  RunSampling(*session, view, options, [&](double elapsed, const FormBG&) {
    lastElapsed = elapsed;
    if (!terminal || elapsed - drawnAt < kRedrawSeconds) return;
    drawnAt = elapsed;
    std::cout << "\x1b[H" << ClearingLineEnds(view.Render(elapsed, true)) << "\x1b[J" << std::flush;
  });
  if (terminal) {
    std::cout << "\x1b[H" << ClearingLineEnds(view.Render(lastElapsed, true)) << "\x1b[J\x1b[?25h"
              << std::flush;
  } else {
    std::cout << view.Render(lastElapsed, false);
  }
  return 0;
}

}  // namespace tavelin::cli
