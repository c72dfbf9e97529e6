// One pass of the acquisition loop over sixteen USB HID modules, the fake
// devices of the tests standing in for them (goal: under 5 us, as the
// simulated pass beside it is under 0.5 us). Each pass finds a fresh report
// of every module, already drained by the library's reader thread, as a
// run on devices that report every millisecond does.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <chrono>
#include <cstdlib>
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

void HidPassMode3(benchmark::State& state) {
  FakeControls fakes{};
  if (!LoadFakes(fakes)) {
    state.SkipWithError("the fake HID devices are built with the tests");
    return;
  }
  for (int c = 0; c < 16; ++c) {
    const unsigned char identity[] = {2, 1, static_cast<unsigned char>(c), 184};
    fakes.plug(PathOf(c).c_str(), 0xFF54, 1, identity, sizeof identity);
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
  if (usbIo.FindDevice != 16) state.SkipWithError("the fakes gave no 16 modules");
  const auto clock = libraries.kvr100.api.kv_timeGetTime;
  unsigned char report[2] = {1, 0};
  for (auto _ : state) {
    state.PauseTiming();
    ++report[1];
    for (int c = 0; c < 16; ++c) fakes.send(PathOf(c).c_str(), report, sizeof report);
    std::this_thread::sleep_for(std::chrono::microseconds(300));  // the reader drains them
    state.ResumeTiming();
    benchmark::DoNotOptimize(clock());
    usbIo.ReciveData();
    usbIo.DataCalculation();
  }
  benchmark::DoNotOptimize(usbIo.USBIO_Value(15));
  usbIo.closeAllDevice();
  fakes.reset();
  state.SetLabel("goal: under 5 us");
}
BENCHMARK(HidPassMode3)->Iterations(3000);

}  // namespace
}  // namespace tavelin
