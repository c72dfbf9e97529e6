#include "cli/console_run.h"

#include "logging/log_names.h"
#include "platform/stop_signals.h"
#include "sampling/polled_event_loop.h"
#include "sampling/run_start.h"
#include "spreadsheet/excel_check.h"

namespace tavelin::cli {

void ApplyRunOptions(const RunOptions& options, ConsoleSession& session) {
  ELM327_Info& device = session.device;
  device.t_ViewCh = options.mode;
  if (options.analysis) {
    for (int16_t c = 0; c < kChannelEntries; ++c) device.usbio_analysis(c) = 1;
    for (int16_t p = 0; p < kPinEntries; ++p) session.USB_Probe.AN_pin_analysis(p) = 1;
  }
  if (options.samplingMs) device.t_LogSampling = *options.samplingMs;
  if (options.folder) {
    device.t_LogSaveFilePath_mode = 2;
    device.t_LogSaveFilePath = *options.folder;
  }
  if (options.comment) device.t_LogComment = RunComment(*options.comment);
  if (options.subFolder) device.t_LogSave_subFolder = 1;
  if (options.format) device.t_LogSaveFormat = *options.format;
}

std::string NothingToSample(const ConsoleSession& session, int mode) {
  const bool analog = mode == 4;
  const int found = analog ? session.USB_Probe.FindDevice : session.USB_IO.FindDevice;
  if (found > 0) return {};
  return std::string(analog ? "アナログプローブ" : "準備済みの USB-IO") + " が見つかりません。" +
         kConnectDeviceHint + " (tavelin-cli devices で確かめられます)";
}

RunSummary RunSampling(
    ConsoleSession& session, SamplingView& view, const RunOptions& options,
    const std::function<void(double elapsedSeconds, const FormBG& engine)>& onIdle,
    const std::function<void(const WrittenLog&)>& onLogWritten, RowConsumer* rows) {
  const Kvr100EntryPoints& clock = session.libraries.kvr100.api;
  PolledEventLoop loop(clock.kv_timeGetTime);
  PolledTimer timerBackView(loop, kSamplingTimerIntervalMs);
  PolledTimer timerUsbProbe(loop, kSamplingTimerIntervalMs);
  LogEnvironment environment = SystemLogEnvironment(session.writableFolder);
  if (onLogWritten) {
    environment.logWritten = [system = environment.logWritten,
                              onLogWritten](const WrittenLog& log) {
      system(log);
      onLogWritten(log);
    };
  }
  FormBG engine(clock, loop, timerBackView, timerUsbProbe, std::move(environment));
  timerBackView.OnTimer([&] { engine.TimerBackView_Timer(); });
  timerUsbProbe.OnTimer([&] { engine.TimerUSB_Probe_Timer(); });
  engine.device = &session.device;
  engine.USB_IO = &session.USB_IO;
  engine.USB_Probe = &session.USB_Probe;
  engine.obj_Form = &view;
  engine.Row_Consumer = rows;

  const StopSignals stopSignals;  // each is the Disconnect button
  const double connectedAt = clock.kv_timeGetTime();
  loop.OnIdle([&] {
    const double elapsed = (loop.Now() - connectedAt) / 1000.0;
    const bool timeUp = options.seconds && elapsed >= *options.seconds;
    if (view.RxFlag == 1 && (stopSignals.Requested() || timeUp)) {
      view.RxFlag = 0;  // Disconnect
      view.TB_Status("切断");
    }
    onIdle(elapsed, engine);
  });

  ApplyRunOptions(options, session);
  const bool workbook = LogsToWorkbook(session.device);
  if (workbook) view.objExcel = OpenExcelForRun();
  PrepareDevicesForRun(session.device.t_ViewCh == 4, session.device, session.USB_IO,
                       session.USB_Probe);
  view.RxFlag = 1;
  engine.start_timer();
  if (workbook) {
    CloseExcelAfterRun(*view.objExcel);
    view.objExcel.reset();
  }
  RunSummary summary{(clock.kv_timeGetTime() - connectedAt) / 1000.0,
                     engine.Excel_DB.RowsLogged(),
                     engine.Excel_DB.RowsInFiles(),
                     engine.Excel_DB.RowsDiscarded(),
                     engine.Excel_DB.FilesWritten(),
                     0,
                     {}};
  if (const auto& kept = engine.RowsKeptInJournal()) {
    summary.rowsKeptInJournal = kept->rows;
    summary.journal = kept->path;
  }
  return summary;
}

}  // namespace tavelin::cli
