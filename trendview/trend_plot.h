#pragma once
#include <QColor>
#include <QImage>
#include <QWidget>
#include <optional>
#include <vector>

#include "trend/trend_traces.h"

class QImage;
class QPainter;

namespace tavelin {

// What a picture of a trend shows: which traces, over which time.
struct TrendFrame {
  std::vector<std::size_t> shown;  // traces, top to bottom
  double fromMs = 0.0;
  double toMs = 1000.0;
  std::optional<double> cursorMs;
  // A trace's own colour (0xRRGGBB), by trace; -1 or none: the lane's.
  std::vector<int32_t> colours;
};

// The colour of the n-th trace shown: distinct, and dark enough to read on
// the white of the plot.
QColor TraceColour(std::size_t n);

// Draws the frame of `traces` into `area`: one lane a trace with its name,
// each pixel column the true minimum and maximum of the samples under it,
// the time axis, and the cursor with every shown value. The window and
// `tavelin --plot` draw with it.
void PaintTrend(QPainter& painter, const QRect& area, const TrendTraces& traces,
                const TrendFrame& frame);

// The same picture drawn into an image: what the window shows and a PNG
// holds, its strokes written into the pixels.
void RenderTrend(QImage& image, const TrendTraces& traces, const TrendFrame& frame);

// The same picture into a file: SVG when its name ends in .svg, else PNG.
// False when the file cannot be written.
bool SaveTrendPicture(const QString& path, const QSize& size, const TrendTraces& traces,
                      const TrendFrame& frame);

// The plot of the trend window: the wheel zooms around the pointer, a drag
// pans, a double click shows the whole run, and the cursor follows the
// pointer. While samples arrive it follows the newest unless the user has
// moved back.
class TrendPlot final : public QWidget {
 public:
  explicit TrendPlot(QWidget* parent = nullptr);

  void SetTraces(const TrendTraces* traces);
  void SetShown(std::vector<std::size_t> shown);
  void SetColours(std::vector<int32_t> colours);
  // The traces grew: keep following the newest, if the view does.
  void SamplesAdded();
  void ShowWholeRun();
  const TrendFrame& Frame() const { return frame_; }
  // The pixel columns the traces are drawn in.
  int PlotWidth() const;
  bool Following() const { return following_; }
  // The view as a program would move it: `zoomAt` a time, by `factor` (< 1 in).
  void Zoom(double atMs, double factor);
  void Pan(double byMs);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  double TimeAtX(double x) const;
  void FollowIfAtEnd();

  const TrendTraces* traces_ = nullptr;
  TrendFrame frame_;
  bool following_ = true;
  std::optional<double> dragFromX_;
  QImage canvas_;  // drawn into, then shown
  double dragFromMs_ = 0.0;
};

}  // namespace tavelin
