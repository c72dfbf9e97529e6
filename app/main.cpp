// tavelin: the desktop program.
#include <QApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QMessageBox>
#include <QTimer>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "app/Form1.h"
#include "app/instance_lock.h"
#include "app/raise_requests.h"
#include "app/stop_requests.h"
#include "platform/program_folder.h"
#include "trendview/plot_command.h"
#include "trendview/trend_window.h"
#include "views/application_look.h"
#include "views/design_units.h"
#include "views/message_boxes.h"

namespace {

// An exception that leaves a handler: the settings changed so far are kept
// aside, a critical box says what failed and what is kept, then the
// program ends at once, without writing the settings files.
class TavelinApplication final : public QApplication {
 public:
  using QApplication::QApplication;

  // Run before the box: what must outlive the end.
  std::function<void()> keepWhatMatters;

  bool notify(QObject* receiver, QEvent* event) override {
    try {
      return QApplication::notify(receiver, event);
    } catch (const std::exception& error) {
      Report(QString::fromUtf8(error.what()));
    } catch (...) {
      Report(QStringLiteral("不明なエラー"));
    }
    return false;
  }

 private:
  [[noreturn]] void Report(const QString& what) {
    if (keepWhatMatters) {
      try {
        keepWhatMatters();
      } catch (...) {
        // the report matters more
      }
    }
    const QString text = QStringLiteral("エラーが発生したため、プログラムを終了します。\n\n") +
                         what +
                         QStringLiteral(
                             "\n\n記録中の行はジャーナルに、変更した設定は控えに残っています。\n"
                             "次回の起動時に復元できます。");
    tavelin::MakeMessageBox(nullptr, QMessageBox::Critical, tavelin::Q(tavelin::identity::kTitle),
                            text, QMessageBox::Ok)
        ->exec();
    std::_Exit(EXIT_FAILURE);
  }
};

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--version") == 0) {
      std::cout << "tavelin " << TAVELIN_VERSION << "\n";
      return 0;
    }
  }
  if (tavelin::AsksForPlot(argc, argv)) {
    qputenv("QT_QPA_PLATFORM", "offscreen");  // no display needed, none touched
    QGuiApplication app(argc, argv);
    return tavelin::RunPlot(std::vector<std::string>(argv + 1, argv + argc));
  }
  TavelinApplication app(argc, argv);
  app.setQuitOnLastWindowClosed(false);
  // The desktop entry's name: the window manager finds the icon by it.
  app.setDesktopFileName(QStringLiteral("jp.example.tavelin.Tavelin"));
  tavelin::UseProgramLook(app);

  if (argc > 1 && argv[1][0] != '-') {
    // A log named: its trend alone, beside a bench that may be running.
    tavelin::TrendWindow trend(nullptr, nullptr, nullptr);
    trend.OpenLog(QString::fromLocal8Bit(argv[1]));
    trend.show();
    app.setQuitOnLastWindowClosed(true);
    return app.exec();
  }

  const std::string folder = tavelin::ProgramFolder();
  const std::string writable = tavelin::WritableFolder(folder);
  const tavelin::InstanceLock instance(writable);
  using Outcome = tavelin::InstanceLock::Outcome;
  if (instance.Result() == Outcome::HeldByAnother) {
    // A second start changes nothing but the running window's place.
    std::cerr << (tavelin::RaiseRequests::AskRunning(writable)
                      ? "tavelin: すでに起動しています。そのウィンドウを前面に出しました\n"
                      : "tavelin: すでに起動しています\n");
    return 0;
  }
  if (instance.Result() == Outcome::Unavailable) {
    std::cerr << "tavelin: " << instance.Why() << "。二度目の起動に気づけません\n";
  }

  tavelin::QtMessageBoxes boxes;
  tavelin::Form1 form1({folder, &boxes, {}, writable});
  const tavelin::StopRequestListener stopRequests(form1);
  const tavelin::RaiseRequests raiseRequests(writable, [&form1] { form1.RaiseShownView(); });
  app.keepWhatMatters = [&form1] { form1.KeepSettings(); };
  if (!form1.BootRoutine()) return 0;
  // Once the first view is up: reading an image looks for its plugins first.
  QTimer::singleShot(0, &app,
                     [&app] { app.setWindowIcon(QIcon(QStringLiteral(":/icons/tavelin.png"))); });
  return app.exec();
}
