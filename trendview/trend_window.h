#pragma once
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>
#include <QWidget>
#include <atomic>
#include <future>
#include <memory>

#include "devices/KVR_USB_Probe.h"
#include "sampling/sample_tap.h"
#include "state/ELM327_Info.h"
#include "trend/past_run.h"
#include "trend/trend_traces.h"
#include "trendview/trend_plot.h"

namespace tavelin {

// The trend window: the inputs of a run over time, live from the sampling
// engine's hand-off while a run goes, or a past run read from its logs
// (開く…, a file dropped on it, `tavelin LOGFILE`). Its title is the
// program's with "　　- トレンド -" and the file's name.
class TrendWindow final : public QWidget {
 public:
  // `tap`, when given, is read every 30 ms while the window is open; the
  // settings name the live traces.
  TrendWindow(const ELM327_Info* device, const KVR_USB_Probe* probes, SampleTap* tap,
              QWidget* parent = nullptr);
  ~TrendWindow() override;

  // Shows the run `path` belongs to, read on a thread of its own while the
  // window says how far it is, its traces within `budgetBytes`; what cannot
  // be read is said in the window.
  void OpenLog(const QString& path, std::size_t budgetBytes = kPastRunBytes);
  bool Loading() const { return loading_.valid(); }
  // Whether the last log opened is shown (after its loading).
  bool LogShown() const { return logShown_; }
  bool SavePicture(const QString& path);

  TrendPlot& Plot() { return *plot_; }
  QListWidget& Channels() { return *channels_; }
  QString StatusText() const { return status_->text(); }
  const TrendTraces& Traces() const { return traces_; }

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void TakeLiveSamples();
  void ShowTraces(const QString& fileName);
  void ChannelsChanged();
  void AskForLog();
  void AskForPicture();
  void TakeLoadedLog();
  void KeepDetailInView();

  struct LoadedLog {
    QString path;
    PastRun run;
  };
  std::future<LoadedLog> loading_;
  std::atomic<int> filesRead_{0};
  QTimer loadPace_;
  bool logShown_ = false;

  // The files of the run shown, and every row of the part in view read
  // back from them while the view is narrow.
  std::vector<PastRun::File> files_;
  std::future<std::shared_ptr<const TrendTraces>> detailLoading_;
  double requestedSpanMs_ = 0.0;
  double refusedSpanMs_ = 0.0;  // a detail of this span or more would read too many files

  const ELM327_Info* device_;
  const KVR_USB_Probe* probes_;
  SampleTap* tap_;
  TrendTraces traces_;
  bool live_ = false;
  uint32_t run_ = 0;
  std::vector<float> values_;
  QListWidget* channels_;
  TrendPlot* plot_;
  QLabel* status_;
  QTimer pace_;
};

}  // namespace tavelin
