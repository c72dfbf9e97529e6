// One pass of the acquisition loop over sixteen USB HID modules, the fake
// devices of the tests standing in for them, beside the same pass over
// simulated modules. Each pass comes after a wait for the next report and
// reads a fresh one of every module itself, as a run on devices that report
// every millisecond does. What a whole run costs is bench/hid_cpu.py's.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "devices/USB_IO_IF.h"
#include "devices/device_libraries.h"
#include "state/ELM327_Info.h"
#include "support/fake_hid.h"

namespace tavelin {
namespace {

#ifdef TAVELIN_FAKE_HID
constexpr const char* kFakeHid = TAVELIN_FAKE_HID;
#else
constexpr const char* kFakeHid = nullptr;
#endif

std::string PathOf(int channel) {
  return "/fake/hidraw" + std::to_string(channel);
}

// Sixteen prepared modules of either kind: fake HID devices (then returned),
// or a simulation file of the same modules.
std::unique_ptr<test::FakeHid> PlugSixteen(bool hid, const std::filesystem::path& simulation) {
  if (!hid) {
    std::ofstream file(simulation);
    for (int c = 0; c < 16; ++c) file << "usbio " << c << " prepared counter " << 7 + c << "\n";
    setenv("KVR_SIMULATION", simulation.c_str(), 1);
    return nullptr;
  }
  setenv("KVR_HID_PORT", kFakeHid, 1);
  auto fakes = std::make_unique<test::FakeHid>();
  for (int c = 0; c < 16; ++c) fakes->Module(PathOf(c), c);
  return fakes;
}

// A mode-3 pass after the loop has waited for the next report, as in a run
// paced by USB frames (caches are cold then, whatever the backend); for HID
// modules each has sent a report that the pass reads.
void PassAfterWait(benchmark::State& state, bool hid) {
  const auto simulation =
      std::filesystem::temp_directory_path() / ("tavelin-bench-hid-" + std::to_string(getpid()));
  if (hid && kFakeHid == nullptr) {
    state.SkipWithError("the fake HID devices are built with the tests");
    return;
  }
  const auto fakes = PlugSixteen(hid, simulation);
  const DeviceLibraries libraries{LoadKvr100(TAVELIN_BIN_DIR), LoadKvrUsbIo(TAVELIN_BIN_DIR),
                                  LoadKvrUsbProbe(TAVELIN_BIN_DIR)};
  ELM327_Info device;
  for (int16_t c = 0; c < 16; ++c) device.usbio_analysis(c) = 1;
  device.t_ViewCh = 3;
  USB_IO_IF usbIo{libraries.usbIo.api};
  usbIo.openDevice();
  usbIo.Data_ALL_Clear();
  usbIo.Data_ALL_Set(device);
  if (usbIo.FindDevice != 16) state.SkipWithError("no 16 modules found");
  const auto clock = libraries.kvr100.api.kv_timeGetTime;
  uint8_t count = 0;
  // Timed by hand: pausing the benchmark's own timers costs more than a pass.
  for (auto _ : state) {
    ++count;
    for (int c = 0; c < 16 && hid; ++c) fakes->Bits(PathOf(c), count);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    const auto start = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(clock());
    usbIo.ReciveData();
    usbIo.DataCalculation();
    state.SetIterationTime(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  benchmark::DoNotOptimize(usbIo.USBIO_Value(15));
  usbIo.closeAllDevice();
  if (!hid) {
    unsetenv("KVR_SIMULATION");
    std::filesystem::remove(simulation);
  }
  state.SetLabel(hid ? "16 reports read in the pass" : "the same pass on simulated modules");
}
BENCHMARK_CAPTURE(PassAfterWait, simulated_modules, false)->Iterations(2000)->UseManualTime();
BENCHMARK_CAPTURE(PassAfterWait, hid_modules, true)->Iterations(2000)->UseManualTime();

}  // namespace
}  // namespace tavelin
