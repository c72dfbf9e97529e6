#pragma once
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

}  // namespace tavelin
