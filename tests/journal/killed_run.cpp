// A logged run that dies as a killed process does, with no cleanup at all,
// at a chosen point:
//   tavelin_killed_run FORMAT POINT FOLDER [SAMPLING_MS]
// FORMAT csv, xls, or none (a log format without a writer: every row stays
// in the journal); POINT before-first-file, after-rollover (once the
// rollover's file is told), during-write (at its yield), for xls
// during-save (while the rollover's workbook is saved in the background),
// ends-after-two-files: the run ends as Disconnect ends it 300 passes after
// its second rollover file is told (it does not die);
// or until-killed: the run goes on until a signal kills it, and says on
// standard output "passes N" every 1000 passes and "taken PATH" when a log
// file's name is taken. The run logs a row every SAMPLING_MS (1 by default)
// on a clock that moves 1 ms a pass, from a scripted module whose input is
// the pass number mod 256, into FOLDER; its journal goes where
// XDG_STATE_HOME says. Prints the number of rows logged before it dies.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "logging/log_names.h"
#include "platform/file_system.h"
#include "platform/special_folders.h"
#include "spreadsheet/ExcelApplication.h"
#include "support/sampling_run.h"

namespace {

using namespace tavelin;
using namespace tavelin::test;

constexpr int kFullBuffer = 20001;

[[noreturn]] void Die(long long rows) {
  std::printf("%lld\n", rows);
  std::fflush(stdout);
  _exit(9);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 && argc != 5) {
    std::fprintf(stderr, "usage: tavelin_killed_run csv|xls|none POINT FOLDER [SAMPLING_MS]\n");
    return 2;
  }
  const bool xls = std::strcmp(argv[1], "xls") == 0;
  const bool none = std::strcmp(argv[1], "none") == 0;
  const std::string point = argv[2];
  const std::string folder = argv[3];

  Simulation simulation("usbio 0 prepared script steps.seq\nusbio 5 prepared script steps.seq\n");
  std::vector<std::string> steps;
  for (int v = 0; v < 256; ++v) steps.push_back(std::to_string(v));
  simulation.Script("steps.seq", steps);

  ELM327_Info device;
  device.t_ViewCh = 1;
  device.t_LogSave_Enable = 1;
  device.t_LogSaveFormat = none ? 3 : xls ? 1 : 2;
  device.ExcelInstallCheck = 1;
  device.t_LogSampling = argc == 5 ? std::atoi(argv[4]) : 1;
  device.t_LogSaveFilePath_mode = 2;
  device.t_LogSaveFilePath = folder;
  USB_IO_IF usbIo(BuiltLibraries().usbIo.api);
  KVR_USB_Probe usbProbe(BuiltLibraries().usbProbe.api);
  RecordingView view;
  if (xls) view.objExcel = std::make_shared<ExcelApplication>();
  g_now = 1000.0;
  int passes = 0;
  bool writing = false;  // a file write is under way: only it yields
  FormBG* running = nullptr;
  const auto rows = [&] { return running != nullptr ? running->Excel_DB.RowsLogged() : 0; };
  LogEnvironment environment = SystemLogEnvironment(folder);
  environment.yield = [&] {
    if (writing && point == "during-write") Die(rows());
  };
  if (point == "during-write" && !xls) {
    // A name taken already makes the csv write's name search yield.
    TakeFileName(JoinPath(folder, "SD" + FileNameDate(NowLocal()) + "-001.csv"));
  }
  int toldAt = 0;  // the pass at which the rollover's file was told
  int told = 0;
  environment.logWritten = [&](const WrittenLog&) {
    writing = false;
    toldAt = passes;
    ++told;
  };
  if (point == "until-killed") {
    environment.nameTaken = [](const TakenLog& taken) {
      std::printf("taken %s\n", taken.path.c_str());
      std::fflush(stdout);
    };
  }
  PolledEventLoop loop(FakeClock);
  PolledTimer timerBackView(loop, kSamplingTimerIntervalMs);
  PolledTimer timerUsbProbe(loop, kSamplingTimerIntervalMs);
  FormBG engine(WithFakeClock(BuiltLibraries().kvr100.api), loop, timerBackView, timerUsbProbe,
                environment);
  engine.device = &device;
  engine.USB_IO = &usbIo;
  engine.USB_Probe = &usbProbe;
  engine.obj_Form = &view;
  running = &engine;
  loop.OnIdle([&] {
    ++passes;
    if (point == "until-killed" && passes % 1000 == 0) {
      std::printf("passes %d\n", passes);
      std::fflush(stdout);
    }
    if (point == "before-first-file" && passes == 5000) Die(rows());
    if (point == "ends-after-two-files" && told == 2 && passes == toldAt + 300) view.RxFlag = 0;
    if (point == "after-rollover" && toldAt > 0 && passes == toldAt + 300) Die(rows());
    if (point == "during-save" && passes == kFullBuffer + 1) Die(rows());
    // The next pass logs the row that fills the buffer: its file follows.
    writing = passes == kFullBuffer - 1;
    g_now += 1.0;
  });
  usbIo.openDevice();
  usbIo.Data_ALL_Clear();
  usbIo.Data_ALL_Set(device);
  view.RxFlag = 1;
  engine.start_timer();
  if (point == "ends-after-two-files") return 0;
  std::fprintf(stderr, "the run ended without dying at %s\n", point.c_str());
  return 1;
}
