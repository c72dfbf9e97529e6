#include "rounding.h"

#include <charconv>
#include <cmath>
#include <cstdint>

namespace kvr {
namespace {

constexpr int kSignificantDigits = 15;

double PowerOfTen(int exponent) {
  static constexpr double kPowers[] = {1e0, 1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7, 1e8,
                                       1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16};
  return kPowers[exponent];
}

}  // namespace

double RoundAtDigit(double value, int32_t digit) {
  if (!std::isfinite(value) || value == 0.0) return value;
  const int decimals = digit < 1 ? 0 : (digit > 16 ? 15 : digit - 1);

  // d.dddddddddddddde±XX: the value as a person would read it.
  char text[40];
  const auto written = std::to_chars(text, text + sizeof text, std::fabs(value),
                                     std::chars_format::scientific, kSignificantDigits - 1);
  const char* end = written.ptr;
  const char* exponentMark = text;
  while (exponentMark < end && *exponentMark != 'e') ++exponentMark;
  int exponent = 0;
  const char* exponentText = exponentMark + 1;
  if (exponentText < end && *exponentText == '+') ++exponentText;
  std::from_chars(exponentText, end, exponent);

  int digits[kSignificantDigits];
  int count = 0;
  for (const char* p = text; p < exponentMark && count < kSignificantDigits; ++p) {
    if (*p >= '0' && *p <= '9') digits[count++] = *p - '0';
  }

  // digits[i] weighs 10^(exponent - i); keep those down to 10^-decimals.
  const int kept = exponent + decimals + 1;
  if (kept >= kSignificantDigits) return value;
  if (kept < 0) return 0.0;

  std::uint64_t mantissa = 0;
  for (int i = 0; i < kept; ++i) mantissa = mantissa * 10 + static_cast<std::uint64_t>(digits[i]);
  if (digits[kept] >= 5) ++mantissa;

  const double magnitude = static_cast<double>(mantissa) / PowerOfTen(decimals);
  if (magnitude == 0.0) return 0.0;
  return value < 0 ? -magnitude : magnitude;
}

}  // namespace kvr
