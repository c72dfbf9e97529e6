#include "trendview/live_traces.h"

namespace tavelin {
namespace {

template <typename Each>
void ForEachInput(const TapSample& s, Each&& each) {
  if (s.mode == 4) {
    for (int d = 0; d < 8; ++d) {
      if ((s.probes >> d & 1) == 0) continue;
      for (int p = 0; p < 6; ++p) each(d, p, s.pins[static_cast<std::size_t>(d * 6 + p)]);
    }
    return;
  }
  for (int c = 0; c < 16; ++c) {
    if ((s.modules >> c & 1) == 0) continue;
    if (s.mode == 3) {
      each(c, -1, s.values[static_cast<std::size_t>(c)]);
      continue;
    }
    for (int b = 0; b < 8; ++b)
      each(c, b, static_cast<double>(s.bits[static_cast<std::size_t>(c)] >> b & 1));
  }
}

// "b3", "入力2": appended, not added, for GCC 12's -O3 alarm on a literal + string.
std::string Numbered(const char* prefix, int number) {
  std::string text = prefix;
  text += std::to_string(number);
  return text;
}

}  // namespace

std::vector<std::string> LiveLabels(const TapSample& first, const ELM327_Info& device,
                                    const KVR_USB_Probe* probes) {
  std::vector<std::string> labels;
  ForEachInput(first, [&](int channel, int input, double) {
    const auto c = static_cast<int16_t>(channel);
    if (first.mode == 4) {
      const auto pin = static_cast<int16_t>(channel * 6 + input);
      const std::string probe =
          probes != nullptr ? probes->AN_ch_comment(c) : std::to_string(channel);
      const std::string name = probes != nullptr ? probes->AN_pin_comment(pin) : "";
      labels.push_back(probe + " " + (name.empty() ? Numbered("入力", input + 1) : name));
    } else if (input < 0) {
      labels.push_back(device.usbio_comment(c));
    } else {
      const std::string bit = device.bit_comment(static_cast<int16_t>(channel * 8 + input));
      labels.push_back(device.usbio_comment(c) + " " + (bit.empty() ? Numbered("b", input) : bit));
    }
  });
  return labels;
}

std::vector<int32_t> LiveColours(const TapSample& first, const ELM327_Info& device,
                                 const KVR_USB_Probe* probes) {
  constexpr Colour kDefaultLed = 0x00FF00;
  constexpr Colour kDefaultText = 0xE0E0E0;
  std::vector<int32_t> colours;
  ForEachInput(first, [&](int channel, int input, double) {
    Colour colour = -1;
    if (first.mode == 4) {
      if (probes != nullptr) {
        const Colour own = probes->AN_pin_FontColor(static_cast<int16_t>(channel * 6 + input));
        if (own != kDefaultText) colour = own;
      }
    } else if (input < 0) {
      const Colour own = device.usbio_FontColor(static_cast<int16_t>(channel));
      if (own != kDefaultText) colour = own;
    } else {
      const Colour own = device.bit_LEDColor(static_cast<int16_t>(channel * 8 + input));
      if (own != kDefaultLed) colour = own;
    }
    colours.push_back(colour);
  });
  return colours;
}

void LiveValues(const TapSample& sample, std::vector<float>& values) {
  values.clear();
  ForEachInput(sample,
               [&](int, int, double value) { values.push_back(static_cast<float>(value)); });
}

}  // namespace tavelin
