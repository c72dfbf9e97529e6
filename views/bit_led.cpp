#include "views/bit_led.h"

#include <QPainter>

#include "views/design_units.h"

namespace tavelin {

BitLed::BitLed(QWidget* parent) : QWidget(parent), painted_(ColourOf(0)) {
  setAttribute(Qt::WA_OpaquePaintEvent);
}

void BitLed::SetBackColor(Colour colour) {
  if (colour == colour_) return;
  colour_ = colour;
  painted_ = ColourOf(colour);
  update();
}

void BitLed::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), painted_);
}

}  // namespace tavelin
