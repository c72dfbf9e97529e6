#pragma once
// A sampling run on simulated devices, with a clock the test moves.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

#include "sampling/FormBG.h"
#include "sampling/polled_event_loop.h"
#include "support/simulation.h"

namespace tavelin::test {

inline double g_now = 0.0;
inline double FakeClock() {
  return g_now;
}

inline Kvr100EntryPoints WithFakeClock(Kvr100EntryPoints api) {
  api.kv_timeGetTime = FakeClock;
  return api;
}

class RecordingView final : public SamplingView {
 public:
  void TB_Status(const std::string& text) override {
    status = text;
    if (onStatus) onStatus();
  }
  void Pic_BitLED(int16_t bit, Colour colour) override { leds[bit] = colour; }
  void Lb_View_ch(int16_t i, std::string_view text) override { values[i] = text; }
  void Lb_View_ch_MAX(int16_t i, std::string_view text) override { maxima[i] = text; }
  void Lb_View_ch_MIN(int16_t i, std::string_view text) override { minima[i] = text; }
  void Lb_View_ch_Avg(int16_t i, std::string_view text) override { averages[i] = text; }

  std::string status;
  std::function<void()> onStatus;
  std::map<int16_t, Colour> leds;
  std::map<int16_t, std::string> values, maxima, minima, averages;
};

// A bench: the engine with a pump that moves the clock by `passMs` after
// each pass and clicks Disconnect after `disconnectAfter` passes.
class SamplingRun : public ::testing::Test {
 protected:
  // The engine's log environment, given the log folder: by default with no
  // yield of its own, so that the engine yields to its pump.
  using EnvironmentFor = LogEnvironment (*)(const std::string& folder);
  static LogEnvironment PlainEnvironment(const std::string& folder) {
    return {NowLocal, nullptr, folder, ""};
  }

  explicit SamplingRun(EnvironmentFor environmentFor = PlainEnvironment)
      : engine_{clock_, loop_, timerBackView_, timerUsbProbe_,
                environmentFor(logFolder.Path().string())} {
    g_now = 1000.0;
    timerBackView_.OnTimer([this] { engine_.TimerBackView_Timer(); });
    timerUsbProbe_.OnTimer([this] { engine_.TimerUSB_Probe_Timer(); });
    loop_.OnIdle([this] {
      ++passes;
      if (onPass) onPass();
      if (passes == disconnectAfter) view.RxFlag = 0;
      g_now += passMs;
    });
    engine_.device = &device;
    engine_.USB_IO = &usbIo;
    engine_.USB_Probe = &usbProbe;
    engine_.obj_Form = &view;
  }

  void Run(int32_t mode) {
    device.t_ViewCh = mode;
    usbIo.openDevice();
    usbProbe.openDevice();
    if (mode == 4) {
      usbProbe.Data_ALL_Clear();
    } else {
      usbIo.Data_ALL_Clear();
      usbIo.Data_ALL_Set(device);
    }
    view.RxFlag = 1;
    engine_.start_timer();
  }

  // What happens after the run: the next events of the pump.
  void PumpFor(double ms) {
    for (double end = g_now + ms; g_now <= end; g_now += 1.0) loop_.DoEvents();
  }

  ELM327_Info device;
  USB_IO_IF usbIo{BuiltLibraries().usbIo.api};
  KVR_USB_Probe usbProbe{BuiltLibraries().usbProbe.api};
  RecordingView view;
  int passes = 0;
  int disconnectAfter = 10;
  double passMs = 1.0;
  std::function<void()> onPass;

  Kvr100EntryPoints clock_ = WithFakeClock(BuiltLibraries().kvr100.api);
  PolledEventLoop loop_{FakeClock};
  PolledTimer timerBackView_{loop_, kSamplingTimerIntervalMs};
  PolledTimer timerUsbProbe_{loop_, kSamplingTimerIntervalMs};

 protected:
  TempFolder logFolder;
  FormBG engine_;
};

}  // namespace tavelin::test
