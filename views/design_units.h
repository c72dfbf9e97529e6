#pragma once
#include <QColor>
#include <QPalette>
#include <QRect>
#include <QString>
#include <QWidget>
#include <string>

#include "state/ELM327_Info.h"

namespace tavelin {

// Design positions are in twips, 15 to a pixel.
constexpr int Px(int twips) {
  return twips / 15;
}
inline QRect TwipRect(int left, int top, int width, int height) {
  return {Px(left), Px(top), Px(width), Px(height)};
}

// A colour number 0x00BBGGRR.
inline QColor ColourOf(Colour bgr) {
  return QColor(bgr & 0xFF, (bgr >> 8) & 0xFF, (bgr >> 16) & 0xFF);
}
constexpr Colour Rgb(int red, int green, int blue) {
  return red | (green << 8) | (blue << 16);
}

// A control's BackColor and ForeColor, as its palette holds them.
inline void SetBackColor(QWidget* widget, Colour colour) {
  QPalette palette = widget->palette();
  for (auto role : {QPalette::Window, QPalette::Base}) palette.setColor(role, ColourOf(colour));
  widget->setPalette(palette);
}
inline void SetForeColor(QWidget* widget, Colour colour) {
  QPalette palette = widget->palette();
  for (auto role : {QPalette::WindowText, QPalette::Text}) palette.setColor(role, ColourOf(colour));
  widget->setPalette(palette);
}

inline QString Q(const std::string& utf8) {
  return QString::fromStdString(utf8);
}
inline std::string S(const QString& text) {
  return text.toStdString();
}

// "ＭＳ Ｐゴシック" on this platform: a metric-compatible Japanese gothic.
inline QString UiFontFamily() {
  return QStringLiteral("IPAPGothic");
}

}  // namespace tavelin
