#include "platform/number_text.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace tavelin {
namespace {

constexpr int kSignificantDigits = 15;

char* Put(char* at, const char* text) {
  const std::size_t length = std::strlen(text);
  std::memcpy(at, text, length);
  return at + length;
}

char* PutZeros(char* at, int count) {
  for (int i = 0; i < count; ++i) *at++ = '0';
  return at;
}

}  // namespace

std::string_view WriteNumberText(double value, char (&out)[kNumberTextSize]) {
  char* at = out;
  if (value == 0.0) return {out, static_cast<std::size_t>(Put(at, "0") - out)};
  if (std::isnan(value)) return {out, static_cast<std::size_t>(Put(at, "NaN") - out)};
  if (std::isinf(value)) {
    return {out, static_cast<std::size_t>(Put(at, value < 0 ? "-Inf" : "Inf") - out)};
  }

  // Whole numbers are most of what a bench shows: print them as integers.
  if (std::fabs(value) < 1e15 && value == std::trunc(value)) {
    return {out, static_cast<std::size_t>(
                     std::to_chars(out, out + kNumberTextSize, static_cast<long long>(value)).ptr -
                     out)};
  }

  // d.ddde±XX: the shortest text that reads back as the value is the
  // 15-digit text whenever it has 15 digits or fewer; otherwise round to 15.
  char scientific[kNumberTextSize];
  auto written = std::to_chars(scientific, scientific + sizeof scientific, std::fabs(value),
                               std::chars_format::scientific);
  const char* mark = scientific;
  while (mark < written.ptr && *mark != 'e') ++mark;
  if (mark - scientific > kSignificantDigits + 1) {
    written = std::to_chars(scientific, scientific + sizeof scientific, std::fabs(value),
                            std::chars_format::scientific, kSignificantDigits - 1);
    mark = scientific;
    while (mark < written.ptr && *mark != 'e') ++mark;
  }
  int exponent = 0;
  const char* exponentText = mark + 1;
  if (exponentText < written.ptr && *exponentText == '+') ++exponentText;
  std::from_chars(exponentText, written.ptr, exponent);

  char digits[kSignificantDigits];
  int count = 0;
  for (const char* p = scientific; p < mark; ++p) {
    if (*p != '.') digits[count++] = *p;
  }
  while (count > 1 && digits[count - 1] == '0') --count;

  if (value < 0) *at++ = '-';
  if (exponent >= kSignificantDigits || exponent < -5) {
    *at++ = digits[0];
    if (count > 1) {
      *at++ = '.';
      std::memcpy(at, digits + 1, count - 1);
      at += count - 1;
    }
    *at++ = 'E';
    *at++ = exponent < 0 ? '-' : '+';
    const int magnitude = std::abs(exponent);
    if (magnitude < 10) *at++ = '0';
    at = std::to_chars(at, out + kNumberTextSize, magnitude).ptr;
  } else if (exponent >= 0) {
    const int whole = exponent + 1;
    if (count <= whole) {
      std::memcpy(at, digits, count);
      at = PutZeros(at + count, whole - count);
    } else {
      std::memcpy(at, digits, whole);
      at += whole;
      *at++ = '.';
      std::memcpy(at, digits + whole, count - whole);
      at += count - whole;
    }
  } else {
    at = Put(at, "0.");
    at = PutZeros(at, -exponent - 1);
    std::memcpy(at, digits, count);
    at += count;
  }
  return {out, static_cast<std::size_t>(at - out)};
}

std::string NumberText(double value) {
  char buffer[kNumberTextSize];
  return std::string(WriteNumberText(value, buffer));
}

std::string DecimalText(long long value) {
  char text[24];
  return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

std::optional<double> NumberInText(std::string_view text) {
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

std::optional<int32_t> WholeNumberInText(std::string_view text) {
  const auto number = NumberInText(text);
  if (!number) return std::nullopt;
  const double whole = std::nearbyint(*number);  // the default rounding: halves to even
  if (whole < -2147483648.0 || whole > 2147483647.0) return std::nullopt;
  return static_cast<int32_t>(whole);
}

}  // namespace tavelin
