// Stop requests from outside (a shutdown, a closed terminal, Ctrl+C) end a
// run as Disconnect does and close the program as a user's close would.
#include <QDeadlineTimer>
#include <csignal>
#include <fstream>

#include "app/stop_requests.h"
#include "gui_suites.h"
#include "gui_support.h"

namespace tavelin::test {
namespace {

namespace fs = std::filesystem;

void WaitFor(const std::function<bool()>& done) {
  const QDeadlineTimer deadline(5000);
  while (!done() && !deadline.hasExpired()) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  }
}

int LinesIn(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return static_cast<int>(std::count(std::istreambuf_iterator<char>(in), {}, '\n'));
}

class StopRequestTest : public QObject {
  Q_OBJECT

 private slots:
  void aRequestEndsTheRunWritesItsLogAndSavesTheSettings() {
    struct Case {
      const char* name;
      int signal;
      bool running;
    };
    const Case cases[] = {{"shutdown during a run", SIGTERM, true},
                          {"closed terminal during a run", SIGHUP, true},
                          {"Ctrl+C during a run", SIGINT, true},
                          {"shutdown while idle", SIGTERM, false}};
    for (const Case& c : cases) {
      TempFolder logs;
      const auto s = Start(3, "usbio 0 prepared constant 5\n", [&](ELM327_Info& device) {
        device.t_LogSave_Enable = 1;
        device.t_LogSaveFormat = 2;
        device.t_LogSaveFilePath_mode = 2;
        device.t_LogSaveFilePath = logs.Path().string();
        device.t_LogSampling = 10;
      });
      Form1& form1 = s->Form();
      const StopRequestListener listener(form1);
      ViewFrame& view = *s->view;
      view.TB_LogComment->setText(QStringLiteral("停止試験"));
      if (c.running) {
        QTimer::singleShot(300, [&] { std::raise(c.signal); });
        view.Pic_Connect_Click();  // returns once the run has ended
      } else {
        form1.device.t_LogComment = "停止試験";  // the comment box reaches it only at Connect
        std::raise(c.signal);
      }
      WaitFor([&] { return form1.Unloaded(); });
      QVERIFY2(form1.Unloaded(), c.name);
      QVERIFY2(!view.isVisible(), c.name);
      ELM327_Info saved;
      QCOMPARE(FileSaveSystem::Read_Config(saved, s->folder.Path()), FileSaveSystem::kRead);
      QCOMPARE(saved.t_LogComment, std::string("停止試験"));
      std::vector<fs::path> written;
      for (const auto& entry : fs::recursive_directory_iterator(logs.Path())) {
        if (entry.is_regular_file()) written.push_back(entry.path());
      }
      QCOMPARE(written.size(), c.running ? 1u : 0u);
      if (c.running) QVERIFY2(LinesIn(written[0]) > 10, c.name);
    }
  }

  // A request that comes while the start-up is still going: the start-up
  // ends instead of opening a view, and keeps what it read.
  void aRequestDuringTheStartUpEndsItWithTheSettingsKept() {
    ProgramFolder folder;
    SaveSettings(folder, 2, [](ELM327_Info& device) { device.t_LogComment = "始動中"; });
    RecordingBoxes boxes;
    Form1 form1({folder.Path(), &boxes, {}, {}});
    const StopRequestListener listener(form1);
    std::raise(SIGTERM);  // seen at the start-up's first pump
    QVERIFY(!form1.BootRoutine());
    QVERIFY(form1.StopRequested());
    QCOMPARE(form1.ShownView(), nullptr);
    QVERIFY(boxes.criticals.isEmpty());
    ELM327_Info saved;
    QCOMPARE(FileSaveSystem::Read_Config(saved, folder.Path()), FileSaveSystem::kRead);
    QCOMPARE(saved.t_LogComment, std::string("始動中"));
    QCOMPARE(saved.t_ViewCh, 2);
  }
};

[[maybe_unused]] const bool kRegistered = RegisterSuite<StopRequestTest>("stop");

}  // namespace
}  // namespace tavelin::test

#include "stop_request_test.moc"
