#pragma once
#include <optional>
#include <string_view>

namespace tavelin {

// The number a text stands for when it is pushed into a sheet, as the
// workbook application reads it: a decimal number, blanks around it
// allowed, an exponent allowed. Anything else stays text.
std::optional<double> NumberOfText(std::string_view text);

}  // namespace tavelin
