// The trend window: live on a run, on a log file (zoom, pan, whole run,
// cursor), and tavelin --plot's picture.
#include <QImage>
#include <filesystem>
#include <fstream>

#include "gui_suites.h"
#include "gui_support.h"
#include "support/one_channel_log.h"
#include "trendview/plot_command.h"
#include "trendview/trend_window.h"

namespace tavelin::test {
namespace {

namespace fs = std::filesystem;

// A csv log of ours with one channel, 0 for the first second and 1 after.
fs::path WriteStepLog(const TempFolder& folder) {
  std::vector<std::string> rows;
  for (int ms = 0; ms < 2000; ms += 10)
    rows.push_back(std::to_string(ms) + (ms < 1000 ? " , 0" : " , 1"));
  const fs::path path = folder.Path() / "SD26112410-001.csv";
  WriteOneChannelLog(path, rows);
  return path;
}

// The step log in a trend window of its own, shown.
struct StepLogShown {
  TempFolder folder;
  QString log = QString::fromStdString(WriteStepLog(folder).string());
  TrendWindow trend{nullptr, nullptr, nullptr};
  StepLogShown() {
    trend.resize(900, 500);
    trend.show();
  }
};

class TrendTest : public QObject {
  Q_OBJECT

 private slots:
  void followsARunLiveAtMostOneSampleAMillisecond() {
    const auto s = Start(3, "usbio 0 prepared constant 7\n", [](ELM327_Info& device) {
      device.usbio_comment(0) = "炉温";
      device.usbio_FontColor(0) = 0x8B0000;  // the channel's own colour
    });
    ViewFrame& view = *s->view;
    view.menu_tool_trend->trigger();
    TrendWindow* trend = nullptr;
    for (QWidget* window : QApplication::topLevelWidgets()) {
      if (auto* found = dynamic_cast<TrendWindow*>(window)) trend = found;
    }
    QVERIFY(trend != nullptr && trend->isVisible());
    QCOMPARE(trend->windowTitle(), QStringLiteral("タヴェリン Ver1.11　　- トレンド -"));
    RunFor(view, 300);
    const TrendTraces& traces = trend->Traces();
    QCOMPARE(traces.Labels(), std::vector<std::string>{"炉温"});
    QVERIFY2(traces.Samples() > 20, std::to_string(traces.Samples()).c_str());
    QVERIFY(traces.Samples() <= static_cast<std::size_t>(traces.LastMs()) + 1);
    QCOMPARE(traces.Range(0).min, 224.0f);  // 7, reversed by the default channel settings
    QCOMPARE(traces.Range(0).max, 224.0f);
    QVERIFY(trend->Plot().Following());
    // A run shorter than the view's ten seconds fills it from the left.
    QCOMPARE(trend->Plot().Frame().fromMs, 0.0);
    QVERIFY(trend->Plot().Frame().toMs >= traces.LastMs());
    QCOMPARE(trend->Channels().count(), 1);
    QCOMPARE(trend->Plot().Frame().colours, std::vector<int32_t>{0x8B0000});
    trend->close();  // deletes itself, and the run's hand-off has no reader
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!s->Form().TheFormBG().Sample_Tap.Attached());
  }

  void aLogZoomsPansAndShowsItsWholeRunAgain() {
    StepLogShown step;
    TrendWindow& trend = step.trend;
    QVERIFY(QTest::qWaitForWindowExposed(&trend));
    trend.OpenLog(step.log);
    QTRY_VERIFY(!trend.Loading());
    QVERIFY(trend.LogShown());
    QCOMPARE(trend.windowTitle(),
             QStringLiteral("タヴェリン Ver1.11　　- トレンド -　SD26112410-001.csv"));
    QCOMPARE(trend.StatusText(), QStringLiteral("1 ファイル、200 行"));
    TrendPlot& plot = trend.Plot();
    QCOMPARE(plot.Frame().fromMs, 0.0);
    QCOMPARE(plot.Frame().toMs, 1990.0);
    QCOMPARE(plot.Frame().shown, std::vector<std::size_t>{0});

    plot.Zoom(1000.0, 0.5);  // around 1000 ms, which stays where it was
    QCOMPARE(plot.Frame().fromMs, 500.0);
    QCOMPARE(plot.Frame().toMs, 1495.0);
    QTest::mouseMove(&plot, QPoint(plot.width() - 10, 50));
    QVERIFY(plot.Frame().cursorMs.has_value() && *plot.Frame().cursorMs > 1400.0);
    QTest::mousePress(&plot, Qt::LeftButton, {}, QPoint(400, 50));
    QTest::mouseMove(&plot, QPoint(300, 50));  // the run moves left: later times come in
    QTest::mouseRelease(&plot, Qt::LeftButton, {}, QPoint(300, 50));
    QVERIFY(plot.Frame().fromMs > 500.0);
    QCOMPARE(plot.Frame().toMs - plot.Frame().fromMs, 995.0);
    QTest::mouseDClick(&plot, Qt::LeftButton, {}, QPoint(300, 50));
    QCOMPARE(plot.Frame().fromMs, 0.0);
    QCOMPARE(plot.Frame().toMs, 1990.0);

    trend.Channels().item(0)->setCheckState(Qt::Unchecked);
    QVERIFY(plot.Frame().shown.empty());
    trend.OpenLog(QString::fromStdString((step.folder.Path() / "none.csv").string()));
    QTRY_VERIFY(!trend.Loading());
    QVERIFY(!trend.LogShown());
    QVERIFY(trend.StatusText().contains(QStringLiteral("開けません")));
  }

  // A run too long for its budget shows each block's extremes, and the
  // rows of the view read back: the cursor reads the step exactly.
  void aRunOverItsBudgetReadsTheRowsOfTheViewBack() {
    StepLogShown step;
    TrendWindow& trend = step.trend;
    trend.OpenLog(step.log, 100);  // room for blocks of 64 rows
    QTRY_VERIFY(trend.LogShown());
    QCOMPARE(trend.Traces().Block(), 64u);
    QCOMPARE(trend.Traces().Samples(), 8u);
    QTRY_VERIFY(trend.Traces().Detail() != nullptr);
    const TrendFrame& frame = trend.Plot().Frame();
    const TrendTraces& shown =
        trend.Traces().ForSpan(frame.fromMs, frame.toMs, trend.Plot().PlotWidth());
    QCOMPARE(shown.Samples(), 200u);
    float value = -1.0f;
    QVERIFY(shown.ValueAt(0, 995.0, value));
    QCOMPARE(value, 0.0f);
    QVERIFY(shown.ValueAt(0, 1000.0, value));
    QCOMPARE(value, 1.0f);
  }

  void plotDrawsTheTracesWhereTheDataSays() {
    TempFolder folder;
    const std::string log = WriteStepLog(folder).string();
    const std::string png = (folder.Path() / "trend.png").string();
    QCOMPARE(RunPlot({"--plot", log, "--output", png, "--size", "400x200"}), 0);
    QImage image(QString::fromStdString(png));
    QCOMPARE(image.size(), QSize(400, 200));
    // Left of the label column's 150 px, the lane runs to 178 px; 0 is
    // drawn at its foot before 1000 ms, 1 at its head after.
    const QRgb ink = TraceColour(0).rgb();
    const auto inkIn = [&](int x, int fromY, int toY) {
      for (int y = fromY; y <= toY; ++y) {
        if (image.pixel(x, y) == ink) return true;
      }
      return false;
    };
    QVERIFY(inkIn(200, 160, 177) && !inkIn(200, 0, 20));
    QVERIFY(inkIn(380, 0, 20) && !inkIn(380, 160, 177));

    const std::string svg = (folder.Path() / "trend.svg").string();
    QCOMPARE(RunPlot({"--plot", log, "--output", svg, "--size", "400x200"}), 0);
    std::ifstream svgText(svg);
    const std::string svgStart((std::istreambuf_iterator<char>(svgText)), {});
    QVERIFY(svgStart.find("<svg width=") != std::string::npos);
    QVERIFY(svgStart.find("viewBox=\"0 0 400 200\"") != std::string::npos);

    QCOMPARE(RunPlot({"--plot", log, "--output", png, "--channels", "2"}), 2);
    QCOMPARE(RunPlot({"--plot", log, "--output", png, "--size", "9x9"}), 2);
    const std::string none = (folder.Path() / "none.png").string();
    QCOMPARE(RunPlot({"--plot", (folder.Path() / "gone.csv").string(), "--output", none}), 1);
    QVERIFY(!fs::exists(none));
  }
};

[[maybe_unused]] const bool kRegistered = RegisterSuite<TrendTest>("trend");

}  // namespace
}  // namespace tavelin::test

#include "trend_test.moc"
