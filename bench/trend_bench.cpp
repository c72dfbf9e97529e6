// The trend's costs. The engine's hand-off of a sample, with no reader and
// with the trend window reading (goals: nothing measurable, under 50 ns a
// pass; at a pass a microsecond, one pass in a thousand hands a sample
// over). A redraw of 24 traces at 1600x1000 over a run at 1 kHz, at the
// whole-run zoom and zoomed to a second (goal: under 4 ms), with the
// memory the traces take: an hour kept whole, and ten hours fed as the
// live window bounds them (goal: under 256 MB).
#include <benchmark/benchmark.h>

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <cmath>
#include <cstdlib>
#include <memory>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "devices/device_libraries.h"
#include "sampling/sample_tap.h"
#include "trend/trend_traces.h"
#include "trendview/trend_plot.h"

namespace tavelin {
namespace {

void TapOffer(benchmark::State& state) {
  const bool reading = state.range(0) != 0;
  static const UsbIoEntryPoints none{};
  USB_IO_IF io(none);
  for (int16_t c = 0; c < 16; ++c) io.HidCh(c) = c;
  SampleTap tap;
  tap.StartRun(3);
  if (reading) tap.Attach();
  double now = 0.0;
  std::size_t taken = 0;
  for (auto _ : state) {
    now += 0.001;  // a pass a microsecond
    tap.Offer(now, io, nullptr);
    if (reading && (static_cast<int64_t>(now * 1000) % 30000) == 0) {
      taken += tap.Take([](const TapSample&) {});  // the window, every 30 ms
    }
  }
  benchmark::DoNotOptimize(taken);
  state.counters["dropped"] = static_cast<double>(tap.Dropped());
}
BENCHMARK(TapOffer)->Arg(0)->Arg(1)->ArgNames({"window_open"});

// 24 traces at 1 kHz for `hours`, sample by sample as a run gives them,
// `value(ms, trace)` each; `live` bounds them every 30 samples as the
// window's 30 ms ticks do.
std::unique_ptr<TrendTraces> Traces(int hours, bool live, float (*value)(int ms, int trace)) {
  auto t = std::make_unique<TrendTraces>();
  std::vector<std::string> labels;
  for (int i = 0; i < 24; ++i) labels.push_back("trace " + std::to_string(i));
  t->SetLabels(labels);
  std::vector<float> values(24);
  for (int ms = 0; ms < hours * 3600 * 1000; ++ms) {
    for (int i = 0; i < 24; ++i) values[static_cast<std::size_t>(i)] = value(ms, i);
    t->Append(ms, values);
    if (live && ms % 30 == 0) t->KeepLiveBound();
  }
  return t;
}

// One hour kept whole: 16 module values and 8 probe pins, each with a pulse
// of one sample somewhere.
const TrendTraces& HourOfTraces() {
  static const auto traces = Traces(1, false, [](int ms, int i) {
    return ms == 1000 * (100 + 97 * i) ? 5000.0f
                                       : static_cast<float>(std::sin(ms * 0.001 * (i + 1)) * 1000);
  });
  return *traces;
}

// Ten hours fed at full speed as the live window takes them: triangles of
// every period, a pulse in each.
const TrendTraces& TenHoursLive() {
  static const auto traces = Traces(10, true, [](int ms, int i) {
    const int period = 2000 * (i + 1);
    const int phase = ms % period;
    return ms == 1000 * (1000 + 977 * i) ? 5000.0f
                                         : static_cast<float>(std::min(phase, period - phase));
  });
  return *traces;
}

void Redraw(benchmark::State& state) {
  static int argc = 1;
  static char name[] = "bench";
  static char* argv[] = {name, nullptr};
  setenv("QT_QPA_PLATFORM", "offscreen", 1);
  static QGuiApplication app(argc, argv);
  const bool tenHours = state.range(1) != 0;
  const TrendTraces& traces = tenHours ? TenHoursLive() : HourOfTraces();
  TrendFrame frame;
  for (std::size_t i = 0; i < 24; ++i) frame.shown.push_back(i);
  const double middle = tenHours ? 35900000.0 : 1800000.0;  // ten hours: in the whole samples
  frame.fromMs = state.range(0) != 0 ? middle : 0.0;
  frame.toMs = state.range(0) != 0 ? middle + 1000.0 : traces.LastMs();
  frame.cursorMs = (frame.fromMs + frame.toMs) / 2;
  QImage image(1600, 1000, QImage::Format_RGB32);
  for (auto _ : state) RenderTrend(image, traces, frame);
  state.counters["trace_MB"] = static_cast<double>(traces.MemoryBytes()) / 1e6;
}
BENCHMARK(Redraw)
    ->ArgsProduct({{0, 1}, {0, 1}})
    ->ArgNames({"zoomed_to_1s", "ten_hours_live"})
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tavelin
