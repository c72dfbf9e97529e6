#pragma once
#include <cstdint>

namespace kvr {

// Rounds half away from zero at the `digit`-th decimal place, keeping
// digit - 1 decimals: digit 1 gives a whole number, 2 one decimal, and so on.
// The rounding works on the 15-digit decimal text of the value, so 2.675
// rounds to 2.68 as a person reading it expects, not to 2.67 as its binary
// neighbour would. Digits below 1 count as 1, above 16 as 16.
double RoundAtDigit(double value, int32_t digit);

}  // namespace kvr
