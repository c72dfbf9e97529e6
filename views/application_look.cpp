#include "views/application_look.h"

#include <QIconEngine>
#include <QLibraryInfo>
#include <QPainter>
#include <QProxyStyle>
#include <QTranslator>
#include <functional>
#include <optional>

#include "views/design_units.h"

namespace tavelin {
namespace {

// An icon made when it is first drawn. The style's own is read from
// pictures through Qt's image plugins, and the first view's menu bar asks
// for its overflow arrow at once, though it shows only when the bar is too
// narrow: loading every image plugin then costs the start milliseconds.
class IconWhenDrawn final : public QIconEngine {
 public:
  explicit IconWhenDrawn(std::function<QIcon()> make) : make_(std::move(make)) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
    Icon().paint(painter, rect, Qt::AlignCenter, mode, state);
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    return Icon().pixmap(size, mode, state);
  }
  QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                       qreal scale) override {
    return Icon().pixmap(size, scale, mode, state);
  }
  QSize actualSize(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    return Icon().actualSize(size, mode, state);
  }
  QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override {
    return Icon().availableSizes(mode, state);
  }
  bool isNull() override { return false; }
  QIconEngine* clone() const override { return new IconWhenDrawn(*this); }

 private:
  QIcon& Icon() {
    if (!icon_) icon_ = make_();
    return *icon_;
  }

  std::function<QIcon()> make_;
  std::optional<QIcon> icon_;
};

class ProgramStyle final : public QProxyStyle {
 public:
  QIcon standardIcon(StandardPixmap which, const QStyleOption* option,
                     const QWidget* widget) const override {
    if (which != SP_ToolBarHorizontalExtensionButton &&
        which != SP_ToolBarVerticalExtensionButton) {
      return QProxyStyle::standardIcon(which, option, widget);
    }
    return QIcon(new IconWhenDrawn(
        [base = baseStyle(), which] { return base->standardIcon(which, nullptr, nullptr); }));
  }
};

}  // namespace

bool UseProgramLook(QApplication& application) {
  QApplication::setStyle(new ProgramStyle);
  QFont font(UiFontFamily());
  font.setPointSizeF(9);
  QApplication::setFont(font);
  auto* translator = new QTranslator(&application);
  if (!translator->load(QStringLiteral("qtbase_ja"),
                        QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    delete translator;
    return false;
  }
  return QCoreApplication::installTranslator(translator);
}

}  // namespace tavelin
