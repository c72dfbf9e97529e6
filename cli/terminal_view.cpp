#include "cli/terminal_view.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "cli/text_columns.h"

namespace tavelin::cli {
namespace {

std::string AnsiColour(Colour colour) {
  char text[32];
  std::snprintf(text, sizeof text, "\x1b[38;2;%d;%d;%dm", colour & 0xFF, (colour >> 8) & 0xFF,
                (colour >> 16) & 0xFF);
  return text;
}

}  // namespace

TerminalView::TerminalView(const ELM327_Info& device, const USB_IO_IF& usbIo,
                           const KVR_USB_Probe& usbProbe)
    : device_(device), usbIo_(usbIo), usbProbe_(usbProbe) {
  leds_.fill(kNotPainted);
}

void TerminalView::Pic_BitLED(int16_t bit, Colour backColor) {
  if (bit < 0 || bit >= kBitEntries) throw std::out_of_range("no LED " + std::to_string(bit));
  leds_[bit] = backColor;
}

TerminalView::Captions& TerminalView::At(int16_t index) {
  if (index < 0 || index >= kPinEntries)
    throw std::out_of_range("no label " + std::to_string(index));
  return captions_[index];
}

void TerminalView::Lb_View_ch(int16_t index, std::string_view caption) {
  At(index).value = caption;
}
void TerminalView::Lb_View_ch_MAX(int16_t index, std::string_view caption) {
  At(index).maximum = caption;
}
void TerminalView::Lb_View_ch_MIN(int16_t index, std::string_view caption) {
  At(index).minimum = caption;
}
void TerminalView::Lb_View_ch_Avg(int16_t index, std::string_view caption) {
  At(index).average = caption;
}

namespace {

// An average as precise as its input is shown (a decimal more for a whole
// number), not with the fifteen digits of a double.
std::string AverageText(const std::string& average, const std::string& value) {
  const std::size_t point = value.find('.');
  const int decimals =
      point == std::string::npos ? 1 : std::min<int>(9, static_cast<int>(value.size() - point - 1));
  char* end = nullptr;
  const double number = std::strtod(average.c_str(), &end);
  if (average.empty() || end == average.c_str()) return average;
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, number);
  return text;
}

}  // namespace

std::string TerminalView::Render(double elapsedSeconds, bool colour) const {
  char head[160];
  std::snprintf(head, sizeof head, "%s   表示モード %d   経過 %.1f 秒   Ctrl+C で切断\n",
                device_.Application_title.c_str(), device_.t_ViewCh, elapsedSeconds);
  std::string out = head;
  out += "状態: " + status_ + "\n\n";
  if (device_.t_ViewCh == 4) {
    RenderAnalog(out);
  } else {
    RenderDigital(out, colour);
  }
  return out;
}

void TerminalView::RenderDigital(std::string& out, bool colour) const {
  const bool values = device_.t_ViewCh == 3;
  out += values ? "Ch   b0......b7   値            最大          最小          平均\n"
                : "Ch   b0......b7   コメント\n";
  for (int16_t c = 0; c < 16; ++c) {
    char label[16];
    std::snprintf(label, sizeof label, "%-4d ", c);
    out += label;
    if (usbIo_.HidCh(c) < 0) {
      out += "--------   (未接続)\n";
      continue;
    }
    for (int16_t b = c * 8; b < c * 8 + 8; ++b) {
      const bool lit = leds_[b] != kNotPainted && leds_[b] != kUnlitLedColour;
      if (colour && lit) {
        out += AnsiColour(leds_[b]) + "●\x1b[0m";
      } else {
        out += lit ? "●" : "○";
      }
    }
    out += "   ";
    if (values) {
      const Captions& caption = captions_[c];
      out += Padded(caption.value, 14);
      if (device_.usbio_analysis(c) == 1) {
        out += Padded(caption.maximum, 14) + Padded(caption.minimum, 14) +
               AverageText(caption.average, caption.value);
      }
    } else {
      out += device_.usbio_comment(c);
    }
    out += "\n";
  }
}

void TerminalView::RenderAnalog(std::string& out) const {
  for (int16_t d = 0; d < 8; ++d) {
    char label[32];
    std::snprintf(label, sizeof label, "プローブ %d  ", d);
    out += label;
    if (usbProbe_.HidCh(d) < 0) {
      out += "(未接続)\n";
      continue;
    }
    out += usbProbe_.AN_ch_comment(d) + "\n";
    for (int16_t p = d * 6; p < d * 6 + 6; ++p) {
      const Captions& caption = captions_[p];
      out += "    " + Padded(usbProbe_.AN_pin_comment(p), 10) + Padded(caption.value, 14);
      if (usbProbe_.AN_pin_analysis(p) == 1) {
        out += "最大 " + Padded(caption.maximum, 12) + "最小 " + Padded(caption.minimum, 12) +
               "平均 " + AverageText(caption.average, caption.value);
      }
      out += "\n";
    }
  }
}

}  // namespace tavelin::cli
