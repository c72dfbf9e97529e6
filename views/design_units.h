#pragma once
#include <QColor>
#include <QPalette>
#include <QRect>
#include <QString>
#include <QWidget>
#include <optional>
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
inline void SetPaletteColours(QWidget* widget, std::optional<Colour> back,
                              std::optional<Colour> fore) {
  QPalette palette = widget->palette();
  if (back) {
    for (auto role : {QPalette::Window, QPalette::Base}) palette.setColor(role, ColourOf(*back));
  }
  if (fore) {
    for (auto role : {QPalette::WindowText, QPalette::Text})
      palette.setColor(role, ColourOf(*fore));
  }
  widget->setPalette(palette);
}
inline void SetBackColor(QWidget* widget, Colour colour) {
  SetPaletteColours(widget, colour, std::nullopt);
}
inline void SetForeColor(QWidget* widget, Colour colour) {
  SetPaletteColours(widget, std::nullopt, colour);
}
// Both in one change of the palette: a view sets them on 176 labels.
inline void SetColours(QWidget* widget, Colour back, Colour fore) {
  SetPaletteColours(widget, back, fore);
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
