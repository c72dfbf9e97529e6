#pragma once
#include <array>
#include <cstdint>
#include <string>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "sampling/sampling_view.h"
#include "state/ELM327_Info.h"

namespace tavelin::cli {

// The view of a console run: keeps what the engine paints and draws it as
// text, with the bit LEDs in their colours when the terminal shows colour.
class TerminalView final : public SamplingView {
 public:
  TerminalView(const ELM327_Info& device, const USB_IO_IF& usbIo, const KVR_USB_Probe& usbProbe);

  void TB_Status(const std::string& text) override { status_ = text; }
  void Pic_BitLED(int16_t bit, Colour backColor) override;
  void Lb_View_ch(int16_t index, std::string_view caption) override;
  void Lb_View_ch_MAX(int16_t index, std::string_view caption) override;
  void Lb_View_ch_MIN(int16_t index, std::string_view caption) override;
  void Lb_View_ch_Avg(int16_t index, std::string_view caption) override;

  // The whole screen as text; `colour` uses ANSI 24-bit colours.
  std::string Render(double elapsedSeconds, bool colour) const;

 private:
  struct Captions {
    std::string value, maximum, minimum, average;
  };
  static constexpr Colour kNotPainted = -1;

  void RenderDigital(std::string& out, bool colour) const;
  void RenderAnalog(std::string& out) const;
  Captions& At(int16_t index);

  const ELM327_Info& device_;
  const USB_IO_IF& usbIo_;
  const KVR_USB_Probe& usbProbe_;
  std::string status_;
  std::array<Colour, kBitEntries> leds_;
  std::array<Captions, kPinEntries> captions_;
};

}  // namespace tavelin::cli
