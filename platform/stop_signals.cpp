#include "platform/stop_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string>

namespace tavelin {
namespace {

constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t g_requested = 0;
volatile std::sig_atomic_t g_pending = 0;
int g_pipe[2] = {-1, -1};
bool g_living = false;
struct sigaction g_previous[3];

// Only async-signal-safe calls here: the rest happens in the event loop.
extern "C" void OnStopSignal(int signal) {
  const int saved = errno;
  g_requested = 1;
  g_pending = signal;
  const char byte = static_cast<char>(signal);
  [[maybe_unused]] const ssize_t ignored = write(g_pipe[1], &byte, 1);  // a full pipe is enough
  errno = saved;
}

}  // namespace

StopSignals::StopSignals() {
  if (g_living) throw std::logic_error("StopSignals: a second listener while one lives");
  if (pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0) {
    throw std::runtime_error(std::string("StopSignals: no pipe: ") + std::strerror(errno));
  }
  g_living = true;
  g_requested = 0;
  g_pending = 0;
  struct sigaction action {};
  action.sa_handler = OnStopSignal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  for (int i = 0; i < 3; ++i) sigaction(kStopSignals[i], &action, &g_previous[i]);
}

StopSignals::~StopSignals() {
  for (int i = 0; i < 3; ++i) sigaction(kStopSignals[i], &g_previous[i], nullptr);
  close(g_pipe[0]);
  close(g_pipe[1]);
  g_pipe[0] = g_pipe[1] = -1;
  g_living = false;
}

bool StopSignals::Requested() const {
  return g_requested != 0;
}

int StopSignals::ReadableFd() const {
  return g_pipe[0];
}

int StopSignals::Take() {
  char bytes[64];
  while (read(g_pipe[0], bytes, sizeof bytes) > 0) {
  }
  const int signal = g_pending;
  g_pending = 0;
  return signal;
}

}  // namespace tavelin
