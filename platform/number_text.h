#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavelin {

// Room for any text WriteNumberText gives.
constexpr std::size_t kNumberTextSize = 32;

// The general text of a double, as labels and logs show it: the shortest
// text of up to 15 significant digits, no trailing zeros, no decimal point
// for whole numbers; exponent form ("1E+16", "1.5E-07") outside
// 1E-05 <= |x| < 1E+15. Writes into `out` and returns the text.
std::string_view WriteNumberText(double value, char (&out)[kNumberTextSize]);

std::string NumberText(double value);

// The decimal text of a whole number. (GCC 12 at -O3 takes the inlined
// std::to_string in a concatenation for an overlapping copy; this one is
// not inlined there.)
std::string DecimalText(long long value);

// The number a text stands for, where it is one: a decimal number, blanks
// around it allowed, a sign and an exponent allowed; no "inf", "nan", hex or
// thousands separators. The workbook takes such a text for a number, and
// the settings dialogs' number test is the same.
std::optional<double> NumberInText(std::string_view text);

// The same number read as a signed 32-bit whole number, rounded to nearest
// with halves to even; none where the text is no number or the number lies
// beyond 32 bits.
std::optional<int32_t> WholeNumberInText(std::string_view text);

}  // namespace tavelin
