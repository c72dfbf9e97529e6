#include "trendview/trend_window.h"

#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QImage>
#include <QMimeData>
#include <QPainter>
#include <QSplitter>
#include <QVBoxLayout>

#include "trendview/live_traces.h"

namespace tavelin {
namespace {

constexpr int kPaceMs = 30;
constexpr int kShownAtFirst = 8;  // traces ticked when a run is shown

QString TitleFor(const QString& fileName) {
  QString title = QString::fromUtf8(identity::kTitle) + QStringLiteral("　　- トレンド -");
  if (!fileName.isEmpty()) title += QStringLiteral("　") + fileName;
  return title;
}

}  // namespace

TrendWindow::TrendWindow(const ELM327_Info* device, const KVR_USB_Probe* probes, SampleTap* tap,
                         QWidget* parent)
    : QWidget(parent, Qt::Window), device_(device), probes_(probes), tap_(tap) {
  setWindowTitle(TitleFor({}));
  setAcceptDrops(true);
  resize(1100, 700);
  auto* open = new QPushButton(QStringLiteral("開く…"));
  auto* save = new QPushButton(QStringLiteral("画像を保存…"));
  status_ = new QLabel;
  auto* top = new QHBoxLayout;
  top->addWidget(open);
  top->addWidget(save);
  top->addWidget(status_, 1);
  channels_ = new QListWidget;
  plot_ = new TrendPlot;
  auto* split = new QSplitter;
  split->addWidget(channels_);
  split->addWidget(plot_);
  split->setStretchFactor(1, 1);
  split->setSizes({220, 880});
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(top);
  layout->addWidget(split, 1);
  QObject::connect(open, &QPushButton::clicked, [this] { AskForLog(); });
  QObject::connect(save, &QPushButton::clicked, [this] { AskForPicture(); });
  QObject::connect(channels_, &QListWidget::itemChanged, [this] { ChannelsChanged(); });
  plot_->SetTraces(&traces_);
  QObject::connect(&loadPace_, &QTimer::timeout, [this] {
    TakeLoadedLog();
    KeepDetailInView();
  });
  if (tap_ != nullptr) {
    live_ = true;
    tap_->Attach();
    status_->setText(QStringLiteral("接続すると計測中の入力を表示します"));
    QObject::connect(&pace_, &QTimer::timeout, [this] { TakeLiveSamples(); });
    pace_.start(kPaceMs);
  }
}

TrendWindow::~TrendWindow() {
  if (tap_ != nullptr) tap_->Detach();
  if (loading_.valid()) loading_.wait();  // it writes into this window's counter
  if (detailLoading_.valid()) detailLoading_.wait();
}

void TrendWindow::ShowTraces(const QString& fileName) {
  setWindowTitle(TitleFor(fileName));
  const QSignalBlocker quiet(channels_);
  channels_->clear();
  for (std::size_t t = 0; t < traces_.Labels().size(); ++t) {
    auto* item = new QListWidgetItem(QString::fromStdString(traces_.Labels()[t]), channels_);
    item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
    item->setCheckState(t < kShownAtFirst ? Qt::Checked : Qt::Unchecked);
  }
  plot_->SetTraces(&traces_);
  ChannelsChanged();
}

void TrendWindow::ChannelsChanged() {
  std::vector<std::size_t> shown;
  for (int row = 0; row < channels_->count(); ++row) {
    if (channels_->item(row)->checkState() == Qt::Checked)
      shown.push_back(static_cast<std::size_t>(row));
  }
  plot_->SetShown(std::move(shown));
}

// The samples the engine handed over since the last look; a new run
// starts the trend anew.
void TrendWindow::TakeLiveSamples() {
  if (!live_) return;
  bool added = false;
  tap_->Take([&](const TapSample& sample) {
    if (sample.run != run_) {
      run_ = sample.run;
      traces_.SetLabels(LiveLabels(sample, *device_, probes_));
      ShowTraces({});
      plot_->SetColours(LiveColours(sample, *device_, probes_));
      status_->setText(QStringLiteral("計測中"));
    }
    LiveValues(sample, values_);
    if (values_.size() == traces_.Labels().size()) {
      traces_.Append(sample.timeMs, values_);
      added = true;
    }
  });
  if (added) traces_.KeepLiveBound();
  if (added) plot_->SamplesAdded();
}

void TrendWindow::OpenLog(const QString& path, std::size_t budgetBytes) {
  if (loading_.valid()) return;  // one at a time
  logShown_ = false;
  filesRead_ = 0;
  status_->setText(QStringLiteral("読み込み中…"));
  loading_ = std::async(std::launch::async, [this, path, budgetBytes] {
    return LoadedLog{path, ReadPastRun(path.toStdString(), &filesRead_, budgetBytes)};
  });
  loadPace_.start(kPaceMs);
}

void TrendWindow::TakeLoadedLog() {
  if (!loading_.valid()) return;
  if (loading_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
    status_->setText(QStringLiteral("読み込み中… ") + QString::number(filesRead_ + 1) +
                     QStringLiteral(" ファイル目"));
    return;
  }
  LoadedLog loaded = loading_.get();
  const QString name = QFileInfo(loaded.path).fileName();
  PastRun& run = loaded.run;
  if (run.traces.Labels().empty() || run.rows == 0) {
    loadPace_.stop();
    status_->setText(name + QStringLiteral(": ") +
                     QString::fromStdString(run.problem.empty() ? "行がありません" : run.problem));
    return;
  }
  live_ = false;  // a file shown is not replaced by the next run's samples
  if (detailLoading_.valid()) detailLoading_.wait();
  detailLoading_ = {};  // the last run's
  traces_ = std::move(run.traces);
  files_ = std::move(run.files);
  refusedSpanMs_ = 0.0;
  plot_->SetColours({});
  ShowTraces(name);
  QString said = QString::number(files_.size()) + QStringLiteral(" ファイル、") +
                 QString::number(run.rows) + QStringLiteral(" 行");
  if (!run.problem.empty()) said += QStringLiteral("　") + QString::fromStdString(run.problem);
  status_->setText(said);
  logShown_ = true;
}

// A narrow view of a long run wants every row of its span: read back from
// the files on a thread, a half span on either side for panning, while the
// reduced samples show.
void TrendWindow::KeepDetailInView() {
  if (detailLoading_.valid()) {
    if (detailLoading_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return;
    const auto detail = detailLoading_.get();
    if (detail == nullptr) {
      refusedSpanMs_ = requestedSpanMs_;
    } else {
      traces_.SetDetail(detail);
      plot_->update();
    }
    return;
  }
  if (live_ || files_.empty() || !logShown_) return;
  const TrendFrame& frame = plot_->Frame();
  const int width = plot_->PlotWidth();
  const double span = frame.toMs - frame.fromMs;
  if (!traces_.NeedsDetail(frame.fromMs, frame.toMs, width) ||
      &traces_.ForSpan(frame.fromMs, frame.toMs, width) != &traces_ ||
      (refusedSpanMs_ > 0.0 && span >= refusedSpanMs_)) {
    return;
  }
  const double from = frame.fromMs - span / 2;
  const double to = frame.toMs + span / 2;
  requestedSpanMs_ = span;
  detailLoading_ =
      std::async(std::launch::async, [files = files_, labels = traces_.Labels(), from, to] {
        return ReadDetail(files, labels, from, to);
      });
}

bool TrendWindow::SavePicture(const QString& path) {
  return SaveTrendPicture(path, plot_->size(), traces_, plot_->Frame());
}

void TrendWindow::AskForLog() {
  const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("ログを開く"), {},
                                                    QStringLiteral("ログ (*.xls *.csv *.journal)"));
  if (!path.isEmpty()) OpenLog(path);
}

void TrendWindow::AskForPicture() {
  const QString path = QFileDialog::getSaveFileName(
      this, QStringLiteral("画像を保存"), {}, QStringLiteral("PNG 画像 (*.png);;SVG 画像 (*.svg)"));
  if (path.isEmpty()) return;
  if (!SavePicture(path)) status_->setText(QStringLiteral("画像を保存できません: ") + path);
}

void TrendWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void TrendWindow::dropEvent(QDropEvent* event) {
  const QList<QUrl> urls = event->mimeData()->urls();
  if (!urls.isEmpty() && urls.first().isLocalFile()) OpenLog(urls.first().toLocalFile());
}

}  // namespace tavelin
