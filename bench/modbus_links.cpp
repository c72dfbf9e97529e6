// Sixteen modules and eight probes of the device map on one Modbus TCP
// server on loopback, read as a run reads them: a pass reads the modules
// (the LED and value views) or the probes (the analog view). Prints how
// often each device is refreshed (goal: at least 500 times a second), what
// a pass costs when fresh input waits for it (goal: under 5 us), the
// processor share of the run besides the server (goal: under 10% of a
// core), and the longest pass while the server is switched off for ten
// seconds (goal: 4 ms).
//   tavelin_links_bench [SECONDS_UP] [SECONDS_DOWN]
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "devices/device_libraries.h"
#include "state/ELM327_Info.h"
#include "support/modbus_server.h"
#include "support/scoped_environment.h"
#include "support/simulation.h"

namespace {

using namespace tavelin;
using Clock = std::chrono::steady_clock;

double ProcessCpuSeconds() {
  timespec used{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

double Milliseconds(Clock::duration d) {
  return std::chrono::duration<double, std::milli>(d).count();
}

struct PassTimes {
  double longestMs = 0.0;
  double p999Ms = 0.0;
  long count = 0;
  std::string Text() const {
    char text[96];
    std::snprintf(text, sizeof text, "longest %.2f ms, 99.9%% %.2f ms, %ld passes", longestMs,
                  p999Ms, count);
    return text;
  }
};

// Passes back to back, as a run makes them.
template <typename Pass>
PassTimes TimePasses(Pass pass, double seconds) {
  std::vector<double> times;
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  while (Clock::now() < end) {
    const auto start = Clock::now();
    pass();
    times.push_back(Milliseconds(Clock::now() - start));
  }
  std::sort(times.begin(), times.end());
  if (times.empty()) return {};
  return {times.back(), times[times.size() * 999 / 1000], static_cast<long>(times.size())};
}

// The yardstick: a bare wait of 4 ms on a condition nobody signals, which
// is what a pass does while its devices are silent. What it takes beyond
// 4 ms is the system's, not ours.
PassTimes BareWaits(double seconds) {
  std::mutex mutex;
  std::condition_variable never;
  return TimePasses(
      [&] {
        std::unique_lock lock(mutex);
        never.wait_for(lock, std::chrono::milliseconds(4));
      },
      seconds);
}

// A pass that finds a round of fresh input waiting, as a run whose loop
// is slower than the devices does: its median in microseconds.
template <typename Pass>
double PassWithFreshInputUs(Pass pass) {
  std::vector<double> times;
  for (int i = 0; i < 500; ++i) {
    std::this_thread::sleep_for(std::chrono::microseconds(2500));
    const auto start = Clock::now();
    pass();
    times.push_back(Milliseconds(Clock::now() - start) * 1000.0);
  }
  std::nth_element(times.begin(), times.begin() + times.size() / 2, times.end());
  return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const double up = argc > 1 ? std::atof(argv[1]) : 5.0;
  const double down = argc > 2 ? std::atof(argv[2]) : 10.0;
  unsetenv("KVR_SIMULATION");
  test::ModbusServer server;
  std::string map;
  for (int c = 0; c < 16; ++c) {
    map += "usbio " + std::to_string(c) + " modbus-tcp " + server.Place() + " unit 1 discrete " +
           std::to_string(8 * c) + "\n";
  }
  for (int p = 0; p < 8; ++p) {
    map += "probe " + std::to_string(p) + " modbus-tcp " + server.Place() + " unit 1 input " +
           std::to_string(6 * p) + "\n";
  }
  test::TempFolder folder;
  const test::ScopedEnvironment mapNamed("KVR_DEVICES", folder.Write("devices.conf", map).string());
  const auto usbIo = LoadKvrUsbIo(TAVELIN_BIN_DIR);
  const auto usbProbe = LoadKvrUsbProbe(TAVELIN_BIN_DIR);
  USB_IO_IF io(usbIo.api);
  KVR_USB_Probe probes(usbProbe.api);
  ELM327_Info settings;
  io.Param_ALL_Clear();
  io.openDevice();
  io.Data_ALL_Clear();
  io.Data_ALL_Set(settings);
  probes.Param_ALL_Clear();
  probes.openDevice();
  std::printf("devices found: %d modules, %d probes\n", io.FindDevice, probes.FindDevice);

  const auto modules = [&] { io.ReciveData(); };
  const auto probePass = [&] { probes.ReciveData(); };
  const int requestsBefore = server.Requests();
  const double serverBefore = server.CpuSeconds();
  const double processBefore = ProcessCpuSeconds();
  const PassTimes passesUp = TimePasses(modules, up);
  const double serverCpu = server.CpuSeconds() - serverBefore;
  const double runCpu = ProcessCpuSeconds() - processBefore - serverCpu;
  // Two requests a round: the modules' 128 inputs, the probes' 48 registers.
  const double refreshes = (server.Requests() - requestsBefore) / 2.0 / up;
  std::printf("refreshes of each device: %.0f /s (goal >= 500)\n", refreshes);
  std::printf("run besides the server: %.1f%% of a core (goal < 10%%); server %.1f%%\n",
              runCpu / up * 100.0, serverCpu / up * 100.0);
  std::printf("pass with fresh input: modules %.2f us, probes %.2f us (goal < 5)\n",
              PassWithFreshInputUs(modules), PassWithFreshInputUs(probePass));
  std::printf("passes, server up: %s\n", passesUp.Text().c_str());

  server.Stop();
  const PassTimes modulesDown = TimePasses(modules, down / 2);
  const PassTimes probesDown = TimePasses(probePass, down / 2);
  server.Start();
  std::printf("passes, server off for %.0f s (goal: 4 ms): modules %s; probes %s\n", down,
              modulesDown.Text().c_str(), probesDown.Text().c_str());
  std::printf("passes, server back: %s\n", TimePasses(modules, 3.0).Text().c_str());
  std::printf("bare 4 ms waits, the system's yardstick: %s\n", BareWaits(down / 2).Text().c_str());
  io.closeAllDevice();
  probes.closeAllDevice();
  return 0;
}
