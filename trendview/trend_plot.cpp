#include "trendview/trend_plot.h"

#include <QFileInfo>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QSvgGenerator>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <functional>

namespace tavelin {
namespace {

constexpr int kLabelWidth = 150;  // the traces' names, left of the lanes
constexpr int kAxisHeight = 22;
constexpr double kShortestSpanMs = 1.0;
constexpr double kZoomStep = 1.25;  // a notch of the wheel

// A round step of the time axis near a tenth of the span.
double AxisStep(double spanMs) {
  const double rough = spanMs / 8.0;
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  for (const double factor : {1.0, 2.0, 5.0, 10.0}) {
    if (power * factor >= rough) return power * factor;
  }
  return power * 10.0;
}

QString TimeText(double ms, double step) {
  if (step >= 1000.0) return QString::number(ms / 1000.0, 'f', step >= 10000.0 ? 0 : 1) + " s";
  return QString::number(ms, 'f', step >= 1.0 ? 0 : 2) + " ms";
}

// The nearest whole pixel (positions here are never far from the image).
int Pixel(double position) {
  return static_cast<int>(std::floor(position + 0.5));
}

QString ValueText(float value) {
  return QString::number(static_cast<double>(value), 'g', 6);
}

}  // namespace

QColor TraceColour(std::size_t n) {
  static const QColor kColours[] = {
      QColor(0x1f, 0x77, 0xb4), QColor(0xd6, 0x27, 0x28), QColor(0x2c, 0xa0, 0x2c),
      QColor(0x94, 0x67, 0xbd), QColor(0xff, 0x7f, 0x0e), QColor(0x8c, 0x56, 0x4b),
      QColor(0xe3, 0x77, 0xc2), QColor(0x17, 0xbe, 0xcf), QColor(0x7f, 0x7f, 0x7f),
      QColor(0xbc, 0xbd, 0x22), QColor(0x00, 0x33, 0x66), QColor(0x66, 0x00, 0x33),
  };
  return kColours[n % std::size(kColours)];
}

namespace {

// A lane's strokes in whole pixels, and where they go: the painter's
// lines, or pixels written straight into an image.
using StrokeSink = std::function<void(const std::vector<QLine>&, const QColor&)>;

// The plot area of `area`: right of the traces' names, above the time axis.
QRect PlotArea(const QRect& area) {
  return QRect(area.left() + kLabelWidth, area.top(), area.width() - kLabelWidth,
               area.height() - kAxisHeight);
}

// The lane of each shown trace: its top and bottom row.
std::pair<int, int> LaneRows(const QRect& plot, int lane, int lanes) {
  return {plot.top() + plot.height() * lane / std::max(lanes, 1),
          plot.top() + plot.height() * (lane + 1) / std::max(lanes, 1) - 1};
}

QColor LaneColour(const TrendFrame& frame, int lane) {
  const std::size_t trace = frame.shown[static_cast<std::size_t>(lane)];
  const bool own = trace < frame.colours.size() && frame.colours[trace] >= 0;
  return own ? QColor::fromRgb(static_cast<QRgb>(frame.colours[trace]))
             : TraceColour(static_cast<std::size_t>(lane));
}

// The traces' names, left of their lanes, each in its trace's colour.
void PaintLabels(QPainter& painter, const QRect& area, const TrendTraces& traces,
                 const TrendFrame& frame) {
  const QRect plot = PlotArea(area);
  const int lanes = static_cast<int>(frame.shown.size());
  for (int lane = 0; lane < lanes; ++lane) {
    const auto [top, bottom] = LaneRows(plot, lane, lanes);
    painter.setPen(LaneColour(frame, lane));
    painter.drawText(
        QRect(area.left() + 4, top, kLabelWidth - 8, bottom - top),
        Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap,
        QString::fromStdString(traces.Labels().at(frame.shown[static_cast<std::size_t>(lane)])));
  }
}

// The time axis, the grid, the lanes' borders and the traces; the names
// are PaintLabels'.
void PaintLanes(QPainter& painter, const QRect& area, const TrendTraces& traces,
                const TrendFrame& frame, const StrokeSink& sink) {
  const QRect plot = PlotArea(area);
  if (plot.width() <= 0 || plot.height() <= 0 || !(frame.toMs > frame.fromMs)) return;
  const double msPerPixel = (frame.toMs - frame.fromMs) / plot.width();
  const auto xOf = [&](double ms) { return plot.left() + (ms - frame.fromMs) / msPerPixel; };

  // The time axis and its grid.
  const double step = AxisStep(frame.toMs - frame.fromMs);
  std::vector<QLine> strokes;  // whole pixels: the raster's fast path
  painter.setPen(Qt::black);
  for (double t = std::ceil(frame.fromMs / step) * step; t <= frame.toMs; t += step) {
    const int x = static_cast<int>(xOf(t));
    strokes.emplace_back(x, plot.top(), x, plot.bottom());
    // Centred under its line, but never cut at the picture's right edge.
    const QString text = TimeText(t, step);
    const int half = painter.fontMetrics().horizontalAdvance(text) / 2 + 1;
    const int centre = std::min(x, area.right() - half);
    painter.drawText(QRect(centre - half, plot.bottom() + 2, 2 * half, kAxisHeight - 2),
                     Qt::AlignHCenter, text);
  }
  sink(strokes, QColor(0xe4, 0xe4, 0xe4));

  // The frame's samples from the run's rows read back when the reduced
  // ones are too few; the scale stays the whole run's.
  const TrendTraces& source = traces.ForSpan(frame.fromMs, frame.toMs, plot.width());
  const std::vector<std::size_t> bounds =
      source.ColumnBounds(frame.fromMs, frame.toMs, plot.width());
  const int lanes = static_cast<int>(frame.shown.size());
  strokes.clear();
  for (int lane = 0; lane < lanes; ++lane) {
    const int bottom = LaneRows(plot, lane, lanes).second;
    strokes.emplace_back(area.left(), bottom, area.right(), bottom);
  }
  sink(strokes, QColor(0xc8, 0xc8, 0xc8));
  for (int lane = 0; lane < lanes; ++lane) {
    const std::size_t trace = frame.shown[static_cast<std::size_t>(lane)];
    const auto [top, bottom] = LaneRows(plot, lane, lanes);
    const auto range = traces.Range(trace);
    if (!range.any) continue;
    const double low = range.min;
    const double high = range.max > range.min ? range.max : range.min + 1.0;
    const int margin = std::min(4, (bottom - top) / 6);
    const double pixelsPerUnit = (bottom - top - 2 * margin) / (high - low);
    const auto yOf = [&](float v) { return Pixel(bottom - margin - (v - low) * pixelsPerUnit); };
    const auto columns = source.Columns(trace, bounds);
    strokes.clear();
    // Each column's extremes as a vertical stroke, joined to the column
    // before that held samples, so that sparse samples still read as a line.
    std::optional<MinMaxPyramid::Extremes> previous;
    int previousX = 0;
    for (int x = 0; x < plot.width(); ++x) {
      const auto& c = columns[static_cast<std::size_t>(x)];
      if (!c.any) continue;
      const int px = plot.left() + x;
      if (previous) {
        const float from = std::clamp((c.min + c.max) / 2, previous->min, previous->max);
        const float to = std::clamp(from, c.min, c.max);
        // Next to a column it overlaps, the join lies within the two strokes.
        if (from != to || px - previousX > 1)
          strokes.emplace_back(previousX, yOf(from), px, yOf(to));
      }
      strokes.emplace_back(px, yOf(c.min), px, yOf(c.max));
      previous = c;
      previousX = px;
    }
    sink(strokes, LaneColour(frame, lane));
  }
}

// The cursor line and the box of every shown value at it.
void PaintCursor(QPainter& painter, const QRect& area, const TrendTraces& traces,
                 const TrendFrame& frame) {
  const QRect plot = PlotArea(area);
  if (plot.width() <= 0 || !(frame.toMs > frame.fromMs)) return;
  const double msPerPixel = (frame.toMs - frame.fromMs) / plot.width();
  const auto xOf = [&](double ms) { return plot.left() + (ms - frame.fromMs) / msPerPixel; };
  if (frame.cursorMs && *frame.cursorMs >= frame.fromMs && *frame.cursorMs <= frame.toMs) {
    const double x = xOf(*frame.cursorMs);
    painter.setPen(QPen(Qt::black, 1, Qt::DashLine));
    painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
    QStringList lines{TimeText(*frame.cursorMs, msPerPixel * 10)};
    const TrendTraces& source = traces.ForSpan(frame.fromMs, frame.toMs, plot.width());
    for (const std::size_t trace : frame.shown) {
      float value = 0.0f;
      lines << QString::fromStdString(traces.Labels()[trace]) + "  " +
                   (source.ValueAt(trace, *frame.cursorMs, value) ? ValueText(value) : "-");
    }
    const QString text = lines.join('\n');
    QRect box =
        painter.fontMetrics().boundingRect(QRect(0, 0, 400, 2000), 0, text).adjusted(-4, -3, 4, 3);
    box.moveTopLeft(QPoint(static_cast<int>(x) + 8, plot.top() + 4));
    if (box.right() > plot.right()) box.moveRight(static_cast<int>(x) - 8);
    painter.fillRect(box, QColor(255, 255, 230, 235));
    painter.setPen(Qt::black);
    painter.drawRect(box);
    painter.drawText(box.adjusted(4, 3, -4, -3), 0, text);
  }
}

// An image's pixels for writing strokes straight into them.
class Pixels {
 public:
  explicit Pixels(QImage& image)
      : bits_(image.bits()),
        stride_(image.bytesPerLine()),
        width_(image.width()),
        height_(image.height()) {}
  // A vertical run of pixels, clipped to the image.
  void FillColumn(int x, int y0, int y1, QRgb colour) {
    if (x < 0 || x >= width_) return;
    if (y0 > y1) std::swap(y0, y1);
    y0 = std::max(y0, 0);
    y1 = std::min(y1, height_ - 1);
    for (int y = y0; y <= y1; ++y) reinterpret_cast<QRgb*>(bits_ + y * stride_)[x] = colour;
  }

 private:
  uchar* bits_;
  qsizetype stride_;
  int width_, height_;
};

// The names' column, drawn again only when the names, their colours or
// the height change: text is the dearest part of a redraw, and these
// stay the same from frame to frame.
const QImage& LabelColumn(const QImage& image, const TrendTraces& traces, const TrendFrame& frame) {
  static QImage column;
  static QStringList drawnFor;
  QStringList key{QString::number(image.height())};
  for (int lane = 0; lane < static_cast<int>(frame.shown.size()); ++lane) {
    key << QString::fromStdString(traces.Labels().at(frame.shown[static_cast<std::size_t>(lane)]))
        << LaneColour(frame, lane).name();
  }
  if (key != drawnFor || column.format() != image.format()) {
    column = QImage(kLabelWidth, image.height(), image.format());
    column.fill(Qt::white);
    QPainter painter(&column);
    PaintLabels(painter, QRect(0, 0, image.width(), image.height()), traces, frame);
    drawnFor = key;
  }
  return column;
}

}  // namespace

void PaintTrend(QPainter& painter, const QRect& area, const TrendTraces& traces,
                const TrendFrame& frame) {
  painter.fillRect(area, Qt::white);
  PaintLabels(painter, area, traces, frame);
  PaintLanes(painter, area, traces, frame, [&](const std::vector<QLine>& lines, const QColor& c) {
    painter.setPen(c);
    painter.drawLines(lines.data(), static_cast<int>(lines.size()));
  });
  PaintCursor(painter, area, traces, frame);
}

// The strokes are written into the pixels directly, a column at a time
// (through the painter they were most of a redraw's cost).
void RenderTrend(QImage& image, const TrendTraces& traces, const TrendFrame& frame) {
  std::vector<std::pair<std::vector<QLine>, QColor>> lanes;
  {
    QPainter painter(&image);
    painter.fillRect(image.rect(), Qt::white);
    painter.drawImage(0, 0, LabelColumn(image, traces, frame));
    PaintLanes(
        painter, image.rect(), traces, frame,
        [&](const std::vector<QLine>& lines, const QColor& c) { lanes.emplace_back(lines, c); });
  }
  Pixels pixels(image);
  for (const auto& [lines, colour] : lanes) {
    const QRgb rgb = colour.rgb();
    for (QLine line : lines) {
      if (line.x1() > line.x2()) line = QLine(line.p2(), line.p1());
      const int dx = line.x2() - line.x1();
      if (dx == 0) {
        pixels.FillColumn(line.x1(), line.y1(), line.y2(), rgb);
        continue;
      }
      if (dx == 1) {  // the join of neighbouring columns: each takes its half
        const int middle = Pixel((line.y1() + line.y2()) / 2.0);
        pixels.FillColumn(line.x1(), line.y1(), middle, rgb);
        pixels.FillColumn(line.x2(), middle, line.y2(), rgb);
        continue;
      }
      // Each column the line crosses gets the heights it spans there.
      const double slope = static_cast<double>(line.y2() - line.y1()) / dx;
      for (int x = line.x1(); x <= line.x2(); ++x) {
        const double from = std::clamp(x - 0.5 - line.x1(), 0.0, static_cast<double>(dx));
        const double to = std::clamp(x + 0.5 - line.x1(), 0.0, static_cast<double>(dx));
        pixels.FillColumn(x, Pixel(line.y1() + slope * from), Pixel(line.y1() + slope * to), rgb);
      }
    }
  }
  QPainter painter(&image);
  PaintCursor(painter, image.rect(), traces, frame);
}

bool SaveTrendPicture(const QString& path, const QSize& size, const TrendTraces& traces,
                      const TrendFrame& frame) {
  if (path.endsWith(QStringLiteral(".svg"), Qt::CaseInsensitive)) {
    QSvgGenerator svg;
    svg.setFileName(path);
    svg.setSize(size);
    svg.setViewBox(QRect(QPoint(0, 0), size));
    svg.setTitle(QStringLiteral("トレンド"));
    QPainter painter;
    if (!painter.begin(&svg)) return false;
    PaintTrend(painter, QRect(QPoint(0, 0), size), traces, frame);
    return painter.end() && QFileInfo(path).size() > 0;
  }
  QImage image(size, QImage::Format_RGB32);
  RenderTrend(image, traces, frame);
  return image.save(path, "PNG");
}

TrendPlot::TrendPlot(QWidget* parent) : QWidget(parent) {
  setMouseTracking(true);
  setMinimumSize(400, 200);
}

int TrendPlot::PlotWidth() const {
  return PlotArea(rect()).width();
}

void TrendPlot::SetTraces(const TrendTraces* traces) {
  traces_ = traces;
  ShowWholeRun();
}

void TrendPlot::SetShown(std::vector<std::size_t> shown) {
  frame_.shown = std::move(shown);
  update();
}

void TrendPlot::SetColours(std::vector<int32_t> colours) {
  frame_.colours = std::move(colours);
  update();
}

void TrendPlot::ShowWholeRun() {
  following_ = true;
  if (traces_ != nullptr && traces_->Samples() > 1) {
    frame_.fromMs = traces_->FirstMs();
    frame_.toMs = std::max(traces_->LastMs(), frame_.fromMs + kShortestSpanMs);
  } else {
    frame_.fromMs = 0.0;
    frame_.toMs = 10000.0;
  }
  update();
}

void TrendPlot::SamplesAdded() {
  FollowIfAtEnd();
  update();
}

// A following view keeps its span and shows the newest sample at its right.
void TrendPlot::FollowIfAtEnd() {
  if (!following_ || traces_ == nullptr || traces_->Samples() == 0) return;
  const double span = frame_.toMs - frame_.fromMs;
  if (traces_->LastMs() > frame_.toMs) {
    frame_.toMs = traces_->LastMs();
    frame_.fromMs = frame_.toMs - span;
  }
}

void TrendPlot::Zoom(double atMs, double factor) {
  const double span = std::max((frame_.toMs - frame_.fromMs) * factor, kShortestSpanMs);
  const double share = (atMs - frame_.fromMs) / (frame_.toMs - frame_.fromMs);
  frame_.fromMs = atMs - span * share;
  frame_.toMs = frame_.fromMs + span;
  following_ = traces_ != nullptr && frame_.toMs >= traces_->LastMs();
  update();
}

void TrendPlot::Pan(double byMs) {
  frame_.fromMs += byMs;
  frame_.toMs += byMs;
  following_ = traces_ != nullptr && frame_.toMs >= traces_->LastMs();
  update();
}

double TrendPlot::TimeAtX(double x) const {
  const double width = std::max(1, this->width() - kLabelWidth);
  return frame_.fromMs + (x - kLabelWidth) / width * (frame_.toMs - frame_.fromMs);
}

void TrendPlot::paintEvent(QPaintEvent*) {
  if (canvas_.size() != size()) canvas_ = QImage(size(), QImage::Format_RGB32);
  if (traces_ != nullptr) {
    RenderTrend(canvas_, *traces_, frame_);
  } else {
    canvas_.fill(Qt::white);
  }
  QPainter(this).drawImage(0, 0, canvas_);
}

void TrendPlot::wheelEvent(QWheelEvent* event) {
  const double notches = event->angleDelta().y() / 120.0;
  Zoom(TimeAtX(event->position().x()), std::pow(kZoomStep, -notches));
}

void TrendPlot::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  dragFromX_ = event->position().x();
  dragFromMs_ = frame_.fromMs;
}

void TrendPlot::mouseMoveEvent(QMouseEvent* event) {
  if (dragFromX_) {
    const double width = std::max(1, this->width() - kLabelWidth);
    const double by =
        -(event->position().x() - *dragFromX_) / width * (frame_.toMs - frame_.fromMs);
    Pan(dragFromMs_ + by - frame_.fromMs);
  }
  frame_.cursorMs = event->position().x() >= kLabelWidth
                        ? std::optional<double>(TimeAtX(event->position().x()))
                        : std::nullopt;
  update();
}

void TrendPlot::mouseReleaseEvent(QMouseEvent*) {
  dragFromX_.reset();
}

void TrendPlot::mouseDoubleClickEvent(QMouseEvent*) {
  ShowWholeRun();
}

void TrendPlot::leaveEvent(QEvent*) {
  frame_.cursorMs.reset();
  update();
}

}  // namespace tavelin
