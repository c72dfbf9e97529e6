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

}  // namespace tavelin
