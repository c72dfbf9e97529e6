#include "spreadsheet/number_cells.h"

#include <charconv>
#include <cmath>

namespace tavelin {

std::optional<double> NumberOfText(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  if (text.empty()) return std::nullopt;
  if (text.size() == 1 && text[0] >= '0' && text[0] <= '9') return text[0] - '0';  // bits
  const char* first = text.data();
  const char* last = text.data() + text.size();
  if (*first == '+') ++first;
  // Only digits, a point, a sign and an exponent: no "inf", no "nan", no hex.
  for (const char* p = first; p < last; ++p) {
    const char c = *p;
    if (!((c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'E' || c == 'e')) {
      return std::nullopt;
    }
  }
  double value = 0.0;
  const auto result = std::from_chars(first, last, value);
  if (result.ec != std::errc() || result.ptr != last || !std::isfinite(value)) return std::nullopt;
  return value;
}

}  // namespace tavelin
