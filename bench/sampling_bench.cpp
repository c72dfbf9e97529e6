// The cost of one pass of the acquisition loop and of one repaint tick, on
// sixteen simulated modules in display mode 3 (goals: 0.5 us and 5 us).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "devices/device_libraries.h"
#include "sampling/FormBG.h"
#include "sampling/polled_event_loop.h"
#include "sampling/sample_tap.h"

namespace tavelin {
namespace {

// Sixteen modules, all counting, read at once.
class Bench {
 public:
  Bench() {
    path_ = std::filesystem::temp_directory_path() / ("tavelin-bench-" + std::to_string(getpid()));
    std::ofstream file(path_);
    for (int c = 0; c < 16; ++c) file << "usbio " << c << " prepared counter " << 7 + c << "\n";
    file.close();
    setenv("KVR_SIMULATION", path_.c_str(), 1);
    for (int16_t c = 0; c < 16; ++c) device.usbio_analysis(c) = 1;
    device.t_ViewCh = 3;
    usbIo.openDevice();
    usbIo.Data_ALL_Clear();
    usbIo.Data_ALL_Set(device);
  }
  ~Bench() { std::filesystem::remove(path_); }

  DeviceLibraries libraries{LoadKvr100(TAVELIN_BIN_DIR), LoadKvrUsbIo(TAVELIN_BIN_DIR),
                            LoadKvrUsbProbe(TAVELIN_BIN_DIR)};
  ELM327_Info device;
  USB_IO_IF usbIo{libraries.usbIo.api};

 private:
  std::filesystem::path path_;
};

// A view that keeps what it is given, as a window keeps its captions.
class KeepingView final : public SamplingView {
 public:
  void TB_Status(const std::string&) override {}
  void Pic_BitLED(int16_t bit, Colour colour) override { leds[bit] = colour; }
  void Lb_View_ch(int16_t i, std::string_view text) override { values[i] = text; }
  void Lb_View_ch_MAX(int16_t i, std::string_view text) override { maxima[i] = text; }
  void Lb_View_ch_MIN(int16_t i, std::string_view text) override { minima[i] = text; }
  void Lb_View_ch_Avg(int16_t i, std::string_view text) override { averages[i] = text; }

  Colour leds[kBitEntries] = {};
  std::string values[kChannelEntries], maxima[kChannelEntries], minima[kChannelEntries],
      averages[kChannelEntries];
};

// The pass as the engine makes it, which offers each sample to the trend:
// with the trend window closed (goal: within 5% of the pass without the
// offer), and open (goal: under 50 ns more).
enum class Trend { None, Closed, Open };

template <Trend trend>
void DigitalPassMode3(benchmark::State& state) {
  Bench bench;
  if (bench.usbIo.FindDevice != 16) state.SkipWithError("the simulation found no 16 modules");
  const auto clock = bench.libraries.kvr100.api.kv_timeGetTime;
  SampleTap tap;
  tap.StartRun(3);
  if (trend == Trend::Open) tap.Attach();
  std::size_t taken = 0;
  for (auto _ : state) {
    const double now = clock();
    bench.usbIo.ReciveData();
    bench.usbIo.DataCalculation();
    if (trend != Trend::None) tap.Offer(now, bench.usbIo, nullptr);
    if (trend == Trend::Open && tap.Dropped() == 0 && (taken & 0xFF) == 0) {
      taken += tap.Take([](const TapSample&) {}) + 1;  // the window drains the ring
    } else {
      ++taken;
    }
  }
  benchmark::DoNotOptimize(bench.usbIo.USBIO_Value(15));
  benchmark::DoNotOptimize(taken);
  state.SetLabel("goal: under 500 ns");
}
BENCHMARK_TEMPLATE(DigitalPassMode3, Trend::None)->Name("DigitalPassMode3");
BENCHMARK_TEMPLATE(DigitalPassMode3, Trend::Closed)->Name("DigitalPassMode3/trend_closed");
BENCHMARK_TEMPLATE(DigitalPassMode3, Trend::Open)->Name("DigitalPassMode3/trend_open");

void TimerTickMode3(benchmark::State& state) {
  Bench bench;
  PolledEventLoop loop(bench.libraries.kvr100.api.kv_timeGetTime);
  PolledTimer timerBackView(loop, kSamplingTimerIntervalMs);
  PolledTimer timerUsbProbe(loop, kSamplingTimerIntervalMs);
  FormBG engine(bench.libraries.kvr100.api, loop, timerBackView, timerUsbProbe,
                SystemLogEnvironment(std::filesystem::temp_directory_path().string()));
  KeepingView view;
  engine.device = &bench.device;
  engine.USB_IO = &bench.usbIo;
  engine.obj_Form = &view;
  view.RxFlag = 1;
  bench.usbIo.ReciveData();
  bench.usbIo.DataCalculation();
  // Values stand still between ticks; the analysis still counts and averages.
  for (auto _ : state) engine.TimerBackView_Timer();
  benchmark::DoNotOptimize(view.averages[15].size());
  state.SetLabel("goal: under 5 us");
}
BENCHMARK(TimerTickMode3);

}  // namespace
}  // namespace tavelin

BENCHMARK_MAIN();
