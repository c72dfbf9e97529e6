#include "views/picture_button.h"

#include <QLinearGradient>
#include <QPainter>

#include "views/design_units.h"

namespace tavelin {
namespace {

// A rounded plate with a lamp and a word; the unusable look is flat grey.
QPixmap Plate(int width, const QString& word, QColor lamp, bool usable) {
  QPixmap pixmap(width, 25);
  pixmap.fill(QColor(0x40, 0x40, 0x40));
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  QLinearGradient face(0, 0, 0, 25);
  face.setColorAt(0, usable ? QColor(0x8c, 0x8c, 0x8c) : QColor(0x5a, 0x5a, 0x5a));
  face.setColorAt(1, usable ? QColor(0x50, 0x50, 0x50) : QColor(0x48, 0x48, 0x48));
  painter.setPen(QPen(usable ? QColor(0xd0, 0xd0, 0xd0) : QColor(0x6a, 0x6a, 0x6a), 1));
  painter.setBrush(face);
  painter.drawRoundedRect(QRectF(0.5, 0.5, width - 1, 24), 4, 4);
  painter.setPen(Qt::NoPen);
  painter.setBrush(usable ? lamp : QColor(0x60, 0x60, 0x60));
  painter.drawEllipse(QRectF(6, 8, 9, 9));
  QFont font(UiFontFamily());
  font.setPixelSize(12);
  font.setBold(true);
  painter.setFont(font);
  painter.setPen(usable ? QColor(0xf4, 0xf4, 0xf4) : QColor(0x80, 0x80, 0x80));
  painter.drawText(QRect(16, 0, width - 18, 25), Qt::AlignCenter, word);
  return pixmap;
}

}  // namespace

PictureButton::PictureButton(QWidget* parent) : QAbstractButton(parent) {
  setFocusPolicy(Qt::NoFocus);
}

void PictureButton::SetPicture(const QPixmap& picture) {
  picture_ = picture;
  update();
}

void PictureButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.drawPixmap(0, 0, picture_);
  if (isDown()) painter.fillRect(rect(), QColor(0, 0, 0, 60));
}

const ButtonPictures& TheButtonPictures() {
  static const ButtonPictures pictures{
      Plate(56, QStringLiteral("接続"), QColor(0x30, 0xe0, 0x50), true),
      Plate(56, QStringLiteral("接続"), QColor(0x30, 0xe0, 0x50), false),
      Plate(57, QStringLiteral("切断"), QColor(0xf0, 0x50, 0x40), true),
      Plate(57, QStringLiteral("切断"), QColor(0xf0, 0x50, 0x40), false),
  };
  return pictures;
}

}  // namespace tavelin
