#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "devices/device_libraries.h"
#include "logging/Excel_OutputDB.h"
#include "logging/log_environment.h"
#include "logging/run_journal.h"
#include "sampling/event_pump.h"
#include "sampling/row_consumer.h"
#include "sampling/sample_tap.h"
#include "sampling/sampling_view.h"
#include "state/ELM327_Info.h"

namespace tavelin {

enum class RunState { Idle, Starting, Running, Draining, Settling };

const char* RunStateName(RunState state);

// The status text of a run that starts with these settings.
std::string RunStatusText(const ELM327_Info& device);

// The new average of a running mean; as kr_Average computes it.
using AverageFunction = kr_Average_fn;

// One input's maximum, minimum and average, updated with its newest value.
// Both extremes at exactly 0 mean a fresh input: the value is taken as the
// first one, uncounted.
void UpdateAnalysis(double value, double& maximum, double& minimum, double& average, int32_t& count,
                    AverageFunction kr_Average);

// The sampling engine: owns one sampling run from Connect to Disconnect.
// The acquisition loop samples as fast as the devices answer and pumps
// messages once a pass; a 30 ms timer repaints the view and keeps the
// analysis. Everything runs on the one thread, but for the save of a
// workbook at a rollover (see Excel_OutputDB).
class FormBG {
 public:
  // The log's name search and workbook write yield to `pump` where the
  // environment brings no yield of its own (the system's brings none).
  FormBG(const Kvr100EntryPoints& kvr100, MessagePump& pump, SamplingTimer& timerBackView,
         SamplingTimer& timerUsbProbe, LogEnvironment logEnvironment);

  ELM327_Info* device = nullptr;
  USB_IO_IF* USB_IO = nullptr;
  KVR_USB_Probe* USB_Probe = nullptr;
  SamplingView* obj_Form = nullptr;
  double RunStartTime = 0.0;

  // The log of the run.
  Excel_OutputDB Excel_DB;
  // Samples for a consumer at its own pace (the trend window).
  SampleTap Sample_Tap;
  // Takes every logged row too (the publisher); none by default.
  RowConsumer* Row_Consumer = nullptr;
  std::string FileName_Date;
  std::string FileName_No;
  std::string FolderName;
  double LastSampleTime = 0.0;

  // Runs a whole sampling run; returns when the view's RxFlag has left 1.
  void start_timer();
  void end_timer();

  // The timers' events.
  void TimerBackView_Timer();
  void TimerUSB_Probe_Timer();

  RunState State() const;

  // Rows of the last run that no log file took (its log format has no
  // writer): they stay in its journal, for recovery.
  struct KeptJournal {
    std::string path;
    int64_t rows = 0;
  };
  const std::optional<KeptJournal>& RowsKeptInJournal() const { return keptJournal_; }

  // The timer of the digital or the analog side, as a view's close asks it.
  bool TimerEnabled(bool analog) const;
  void DisableTimer(bool analog);

 private:
  enum class Side { Digital, Analog };

  void DigitalSamplingLoop();
  void AnalogSamplingLoop();
  void SamplingLoop(Side side);
  void ReadDevices(Side side);

  void PaintBitLEDs();
  void ShowChannelValues();
  void ShowPinValues();

  void PrepareRunLog();
  void StartJournal();
  void StartRowConsumer();
  void EndRowConsumer();
  void LogStep(double now, Side side);
  void WriteLastLogFile();
  void WriteLogFile(int32_t Output_ch);

  ELM327_Info& Device() const;
  SamplingView& View() const;
  USB_IO_IF& UsbIo() const;
  KVR_USB_Probe& UsbProbe() const;

  Kvr100EntryPoints kvr100_;
  MessagePump& pump_;
  SamplingTimer& TimerBackView;
  SamplingTimer& TimerUSB_Probe;
  bool inStartTimer_ = false;
  bool inLoop_ = false;
  // The journal of a logged run: what a crash would otherwise lose.
  std::unique_ptr<RunJournal> journal_;
  std::string journalRow_;
  // What a logged run's rows hold, for the journal and the row consumer.
  JournalHead runHead_;
  // The consumer of this run's rows, from its start to its end.
  RowConsumer* rowConsumer_ = nullptr;
  std::optional<KeptJournal> keptJournal_;
};

}  // namespace tavelin
