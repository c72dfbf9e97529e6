// One pass of the acquisition loop over sixteen USB HID modules, the fake
// devices of the tests standing in for them, beside the same pass over
// simulated modules. Each pass comes after a wait for the next report and
// reads a fresh one of every module itself, as a run on devices that report
// every millisecond does. What a whole run costs is bench/hid_cpu.py's.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
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

namespace tavelin {
namespace {

#ifdef TAVELIN_FAKE_HID
constexpr const char* kFakeHid = TAVELIN_FAKE_HID;
#else
constexpr const char* kFakeHid = nullptr;
#endif

// The fake port's controls; the device libraries open the same library.
struct FakeControls {
  void (*plug)(const char*, unsigned short, unsigned short, const unsigned char*, size_t);
  int (*send)(const char*, const unsigned char*, size_t);
  void (*reset)();
};

bool LoadFakes(FakeControls& controls) {
  if (kFakeHid == nullptr) return false;
  setenv("KVR_HID_PORT", kFakeHid, 1);
  unsetenv("KVR_SIMULATION");
  void* library = dlopen(kFakeHid, RTLD_NOW);
  if (library == nullptr) return false;
  controls.plug = reinterpret_cast<decltype(controls.plug)>(dlsym(library, "fake_hid_plug"));
  controls.send = reinterpret_cast<decltype(controls.send)>(dlsym(library, "fake_hid_send"));
  controls.reset = reinterpret_cast<decltype(controls.reset)>(dlsym(library, "fake_hid_reset"));
  return controls.plug != nullptr && controls.send != nullptr && controls.reset != nullptr;
}

std::string PathOf(int channel) {
  return "/fake/hidraw" + std::to_string(channel);
}

// Sixteen prepared modules of either kind: fake HID devices, or a
// simulation file of the same modules. Null when the fakes are not built.
std::unique_ptr<FakeControls> PlugSixteen(bool hid, const std::filesystem::path& simulation) {
  auto fakes = std::make_unique<FakeControls>();
  if (!hid) {
    std::ofstream file(simulation);
    for (int c = 0; c < 16; ++c) file << "usbio " << c << " prepared counter " << 7 + c << "\n";
    setenv("KVR_SIMULATION", simulation.c_str(), 1);
    return fakes;
  }
  if (!LoadFakes(*fakes)) return nullptr;
  for (int c = 0; c < 16; ++c) {
    const unsigned char identity[] = {2, 1, static_cast<unsigned char>(c), 184};
    fakes->plug(PathOf(c).c_str(), 0xFF54, 1, identity, sizeof identity);
  }
  return fakes;
}

// A mode-3 pass after the loop has waited for the next report, as in a run
// paced by USB frames (caches are cold then, whatever the backend); for HID
// modules each has sent a report that the pass reads.
void PassAfterWait(benchmark::State& state, bool hid) {
  const auto simulation =
      std::filesystem::temp_directory_path() / ("tavelin-bench-hid-" + std::to_string(getpid()));
  const auto fakes = PlugSixteen(hid, simulation);
  if (fakes == nullptr) {
    state.SkipWithError("the fake HID devices are built with the tests");
    return;
  }
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
  unsigned char report[2] = {1, 0};
  // Timed by hand: pausing the benchmark's own timers costs more than a pass.
  for (auto _ : state) {
    ++report[1];
    for (int c = 0; c < 16 && hid; ++c) fakes->send(PathOf(c).c_str(), report, sizeof report);
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
  if (hid) {
    fakes->reset();
  } else {
    unsetenv("KVR_SIMULATION");
    std::filesystem::remove(simulation);
  }
  state.SetLabel(hid ? "16 reports read in the pass" : "the same pass on simulated modules");
}
BENCHMARK_CAPTURE(PassAfterWait, simulated_modules, false)->Iterations(2000)->UseManualTime();
BENCHMARK_CAPTURE(PassAfterWait, hid_modules, true)->Iterations(2000)->UseManualTime();

}  // namespace
}  // namespace tavelin
