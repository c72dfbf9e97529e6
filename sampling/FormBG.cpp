#include "sampling/FormBG.h"

#include <iostream>
#include <stdexcept>

#include "platform/number_text.h"

namespace tavelin {
namespace {

template <typename T>
T& Required(T* member, const char* name) {
  if (member == nullptr) throw std::logic_error(std::string("FormBG.") + name + " is not set");
  return *member;
}

// Flags a scope, also when it is left by an exception.
class ScopeFlag {
 public:
  explicit ScopeFlag(bool& flag) : flag_(flag) { flag_ = true; }
  ~ScopeFlag() { flag_ = false; }
  ScopeFlag(const ScopeFlag&) = delete;
  ScopeFlag& operator=(const ScopeFlag&) = delete;

 private:
  bool& flag_;
};

// The value caption of one input and, when it is analysed, its analysis and
// the three analysis captions. The digital side counts per channel, the
// analog side per probe, so the count has its own index.
template <typename Values, typename Counts>
void ShowInput(SamplingView& view, int16_t index, int16_t countIndex, bool analysed, Values& value,
               Values& maximum, Values& minimum, Values& average, Counts& count,
               AverageFunction kr_Average) {
  char text[kNumberTextSize];
  view.Lb_View_ch(index, WriteNumberText(value(index), text));
  if (!analysed) return;
  UpdateAnalysis(value(index), maximum(index), minimum(index), average(index), count(countIndex),
                 kr_Average);
  view.Lb_View_ch_MAX(index, WriteNumberText(maximum(index), text));
  view.Lb_View_ch_MIN(index, WriteNumberText(minimum(index), text));
  view.Lb_View_ch_Avg(index, WriteNumberText(average(index), text));
}

}  // namespace

const char* RunStateName(RunState state) {
  switch (state) {
    case RunState::Idle:
      return "Idle";
    case RunState::Starting:
      return "Starting";
    case RunState::Running:
      return "Running";
    case RunState::Draining:
      return "Draining";
    case RunState::Settling:
      return "Settling";
  }
  return "?";
}

std::string RunStatusText(const ELM327_Info& device) {
  if (device.t_LogSave_Enable == 1 && device.t_LogSaveFormat == 1) return "通信中　ログ出力(Excel)";
  if (device.t_LogSave_Enable == 1 && device.t_LogSaveFormat == 2) return "通信中　ログ出力(csv)";
  return "通信中";
}

void UpdateAnalysis(double value, double& maximum, double& minimum, double& average, int32_t& count,
                    AverageFunction kr_Average) {
  if (minimum == 0.0 && maximum == 0.0) {
    minimum = value;
    maximum = value;
    average = value;
    return;
  }
  if (minimum > value) {
    minimum = value;
  } else if (maximum < value) {
    maximum = value;
  }
  count = count + 1;
  average = kr_Average(average, value, count, 3);
}

namespace {

// The engine's pump where the environment brings no yield, and each file
// written noted in the run's journal.
LogEnvironment ForTheRun(LogEnvironment environment, MessagePump& pump,
                         std::unique_ptr<RunJournal>& journal) {
  if (!environment.yield) environment.yield = [&pump] { pump.DoEvents(); };
  environment.logWritten = [told = environment.logWritten, &journal](const WrittenLog& log) {
    if (journal) journal->NoteFile(log);
    if (told) told(log);
  };
  environment.nameTaken = [told = environment.nameTaken, &journal](const TakenLog& taken) {
    if (journal) journal->NoteName(taken);
    if (told) told(taken);
  };
  return environment;
}

}  // namespace

FormBG::FormBG(const Kvr100EntryPoints& kvr100, MessagePump& pump, SamplingTimer& timerBackView,
               SamplingTimer& timerUsbProbe, LogEnvironment logEnvironment)
    : Excel_DB(ForTheRun(std::move(logEnvironment), pump, journal_)),
      kvr100_(kvr100),
      pump_(pump),
      TimerBackView(timerBackView),
      TimerUSB_Probe(timerUsbProbe) {}

ELM327_Info& FormBG::Device() const {
  return Required(device, "device");
}
SamplingView& FormBG::View() const {
  return Required(obj_Form, "obj_Form");
}
USB_IO_IF& FormBG::UsbIo() const {
  return Required(USB_IO, "USB_IO");
}
KVR_USB_Probe& FormBG::UsbProbe() const {
  return Required(USB_Probe, "USB_Probe");
}

void FormBG::start_timer() {
  ScopeFlag running(inStartTimer_);
  PrepareRunLog();
  View().TB_Status(RunStatusText(Device()));
  RunStartTime = kvr100_.kv_timeGetTime();
  Sample_Tap.StartRun(Device().t_ViewCh);
  switch (Device().t_ViewCh) {
    case 1:
    case 2:
    case 3:
      TimerBackView.SetEnabled(true);
      DigitalSamplingLoop();
      break;
    case 4:
      TimerUSB_Probe.SetEnabled(true);
      AnalogSamplingLoop();
      break;
    default:
      break;
  }
}

void FormBG::end_timer() {
  switch (Device().t_ViewCh) {
    case 1:
    case 2:
    case 3:
      TimerBackView.SetEnabled(false);
      break;
    case 4:
      TimerUSB_Probe.SetEnabled(false);
      break;
    default:
      break;
  }
}

void FormBG::DigitalSamplingLoop() {
  SamplingLoop(Side::Digital);
}

void FormBG::AnalogSamplingLoop() {
  SamplingLoop(Side::Analog);
}

void FormBG::SamplingLoop(Side side) {
  ScopeFlag looping(inLoop_);
  // However the run ends, its row consumer hears of it.
  const std::unique_ptr<FormBG, void (*)(FormBG*)> endRows(
      this, [](FormBG* bg) { bg->EndRowConsumer(); });
  try {
    while (View().RxFlag == 1) {
      const double now = kvr100_.kv_timeGetTime();
      ReadDevices(side);
      Sample_Tap.Offer(now - RunStartTime, UsbIo(), side == Side::Analog ? USB_Probe : nullptr);
      if (Device().t_LogSave_Enable == 1) {
        LogStep(now, side);
        Excel_DB.CollectFinishedFiles();
      }
      if (journal_) journal_->Flush(now);
      pump_.DoEvents();
    }
  } catch (...) {
    journal_.reset();  // what the run has logged stays in its journal, synced now
    throw;
  }
  WriteLastLogFile();
}

void FormBG::ReadDevices(Side side) {
  if (side == Side::Digital) {
    UsbIo().ReciveData();
    // The LED modes work on bits alone.
    if (Device().t_ViewCh == 3) UsbIo().DataCalculation();
  } else {
    UsbProbe().ReciveData();
    UsbProbe().DataCalculation();
  }
}

void FormBG::PrepareRunLog() {
  Excel_DB.Param_ALL_Clear();
  Excel_DB.objExcel = View().objExcel;
  FolderName.clear();
  FileName_No.clear();
  FileName_Date.clear();
  LastSampleTime = 0.0;
  // Also with logging off: the folder and the header are made all the same.
  if (Device().t_LogSave_subFolder == 1) Excel_DB.Get_SubFolder_Name(Device(), FolderName);
  Excel_DB.csv_DB_Initialize(0, USB_Probe, UsbIo(), Device());
  journal_.reset();  // a journal left by a run that failed stays on disk
  keptJournal_.reset();
  if (Device().t_LogSave_Enable == 1) {
    runHead_ =
        HeadOfRun(Device(), UsbIo(), USB_Probe, FolderName, Excel_DB.Environment().programFolder);
    StartJournal();
    StartRowConsumer();
  }
}

void FormBG::StartRowConsumer() {
  rowConsumer_ = Row_Consumer;
  if (rowConsumer_ != nullptr) rowConsumer_->RunStarted(runHead_, Device().t_LogSampling);
}

void FormBG::EndRowConsumer() {
  if (rowConsumer_ != nullptr) rowConsumer_->RunEnded();
  rowConsumer_ = nullptr;
}

void FormBG::StartJournal() {
  const LogEnvironment& environment = Excel_DB.Environment();
  if (environment.journalFolder.empty()) return;
  std::string why;
  journal_ = RunJournal::Start(environment.journalFolder, runHead_, why);
  if (!journal_) {
    std::cerr << "tavelin: ジャーナルを作れません (途中で終わっても行は復元できません): " << why
              << "\n";
  }
}

void FormBG::LogStep(double now, Side side) {
  if (now - LastSampleTime < Device().t_LogSampling) return;
  LastSampleTime = now;  // a late row shifts those after it; none is made up
  const double now_time = LastSampleTime - RunStartTime;
  if (side == Side::Digital) {
    Excel_DB.Excel_DataInput(UsbIo(), Device(), now_time);
  } else {
    Excel_DB.Excel_AN_DataInput(UsbProbe(), UsbIo(), Device(), now_time);
  }
  // One packing of the row for every taker beside the log.
  if (journal_ || rowConsumer_ != nullptr) {
    PackRow(runHead_, UsbIo(), USB_Probe, journalRow_);
    if (journal_) journal_->AddRow(now_time, journalRow_);
    if (rowConsumer_ != nullptr) rowConsumer_->RowLogged(now_time, journalRow_);
  }
  Excel_DB.RollOverWhenFull([this](int32_t Output_ch) { WriteLogFile(Output_ch); });
}

void FormBG::WriteLastLogFile() {
  if (Device().t_LogSave_Enable == 1) {
    try {
      WriteLogFile(Excel_DB.Excel_DB_ArayyCh == 1 ? 1 : 2);
    } catch (...) {
      journal_.reset();
      throw;
    }
  }
  // The run ended as it should: nothing to recover, unless rows found no
  // file (a log format no writer has); they stay in the journal.
  if (journal_) {
    const int64_t kept = journal_->Finish();
    if (kept > 0) keptJournal_ = {journal_->Path(), kept};
  }
  journal_.reset();
}

void FormBG::WriteLogFile(int32_t Output_ch) {
  Excel_DB.Excel_DataOutput(Output_ch, USB_Probe, UsbIo(), Device(), FileName_Date, FileName_No,
                            FolderName);
}

void FormBG::TimerBackView_Timer() {
  TimerBackView.SetEnabled(false);
  if (View().RxFlag != 1) return;  // this is how the timer stops
  PaintBitLEDs();
  if (Device().t_ViewCh == 3) ShowChannelValues();
  if (View().RxFlag == 1) TimerBackView.SetEnabled(true);
}

void FormBG::TimerUSB_Probe_Timer() {
  TimerUSB_Probe.SetEnabled(false);
  if (View().RxFlag != 1) return;
  if (Device().t_ViewCh == 4) ShowPinValues();
  if (View().RxFlag == 1) TimerUSB_Probe.SetEnabled(true);
}

void FormBG::PaintBitLEDs() {
  USB_IO_IF& io = UsbIo();
  ELM327_Info& settings = Device();
  SamplingView& view = View();
  for (int32_t c = 0; c < io.max_device; ++c) {
    if (io.HidCh(TableIndex(c)) < 0) continue;
    for (int32_t b = c * 8; b < c * 8 + 8; ++b) {
      const int16_t bit = TableIndex(b);
      view.Pic_BitLED(
          bit, io.USBIO_J1_MakeData_Bit(bit) == 1 ? settings.bit_LEDColor(bit) : kUnlitLedColour);
    }
  }
}

void FormBG::ShowChannelValues() {
  USB_IO_IF& io = UsbIo();
  for (int32_t c = 0; c < io.max_device; ++c) {
    const int16_t channel = TableIndex(c);
    if (io.HidCh(channel) < 0) continue;
    ShowInput(View(), channel, channel, Device().usbio_analysis(channel) == 1, io.USBIO_Value,
              io.USBIO_ValueMAX, io.USBIO_ValueMIN, io.USBIO_ValueAVG, io.USBIO_ValueAVG_count,
              kvr100_.kr_Average);
  }
}

void FormBG::ShowPinValues() {
  KVR_USB_Probe& probe = UsbProbe();
  for (int32_t d = 0; d < probe.max_device; ++d) {
    const int16_t probeIndex = TableIndex(d);
    if (probe.HidCh(probeIndex) < 0) continue;
    for (int32_t p = d * probe.max_input; p < d * probe.max_input + probe.max_input; ++p) {
      const int16_t pin = TableIndex(p);
      ShowInput(View(), pin, probeIndex, probe.AN_pin_analysis(pin) == 1, probe.USBProbe_Value,
                probe.USBProbe_ValueMAX, probe.USBProbe_ValueMIN, probe.USBProbe_ValueAVG,
                probe.USBProbe_ValueAVG_count, kvr100_.kr_Average);
    }
  }
}

bool FormBG::TimerEnabled(bool analog) const {
  return analog ? TimerUSB_Probe.Enabled() : TimerBackView.Enabled();
}

void FormBG::DisableTimer(bool analog) {
  (analog ? TimerUSB_Probe : TimerBackView).SetEnabled(false);
}

RunState FormBG::State() const {
  const bool flag = obj_Form != nullptr && obj_Form->RxFlag == 1;
  const bool timerOn = TimerBackView.Enabled() || TimerUSB_Probe.Enabled();
  if (inStartTimer_) {
    if (!flag) return RunState::Draining;
    return inLoop_ ? RunState::Running : RunState::Starting;
  }
  if (flag) return RunState::Starting;
  return timerOn ? RunState::Settling : RunState::Idle;
}

}  // namespace tavelin
