#include "platform/number_text.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tavelin {
namespace {

struct Case {
  double value;
  const char* text;
};

// Non-numbers have a text too.
TEST(NumberText, GeneralFormOfFifteenDigits) {
  const Case cases[] = {
      {0.0, "0"},
      {-0.0, "0"},
      {9.5, "9.5"},
      {1200.0, "1200"},
      {-2.25, "-2.25"},
      {0.1 + 0.2, "0.3"},  // 15 digits hide the binary tail
      {1.0 / 3.0, "0.333333333333333"},
      {2.0 / 3.0, "0.666666666666667"},
      {99999999.0, "99999999"},
      {100000000.0, "100000000"},
      {123456789.125, "123456789.125"},
      {999999999999999.0, "999999999999999"},
      {1e15, "1E+15"},
      {1e16, "1E+16"},
      {-1.5e20, "-1.5E+20"},
      {1e100, "1E+100"},
      {0.00001, "0.00001"},
      {0.0000123, "0.0000123"},
      {1.5e-7, "1.5E-07"},
      {9.99999e-6, "9.99999E-06"},
      {1234567890123456789.0, "1.23456789012346E+18"},
      {std::nan(""), "NaN"},
      {-INFINITY, "-Inf"},
  };
  for (const Case& c : cases) EXPECT_EQ(NumberText(c.value), c.text) << c.value;
}

TEST(NumberInText, OnlyDecimalNumbersAreNumbers) {
  EXPECT_EQ(NumberInText("1"), 1.0);
  EXPECT_EQ(NumberInText(" -2.5 "), -2.5);
  EXPECT_EQ(NumberInText("1.5E-07"), 1.5e-7);
  EXPECT_EQ(NumberInText("+3"), 3.0);
  for (const char* text :
       {"", " ", "Ch1", "NaN", "Inf", "0x10", "1,000", "2026/11/21 6:10:33", "1e999", "--1", "."}) {
    EXPECT_FALSE(NumberInText(text)) << text;
  }
}

// A whole number rounds halves to even and stays within 32 bits.
TEST(WholeNumberInText, RoundsHalvesToEvenWithin32Bits) {
  const std::pair<const char*, std::optional<int32_t>> cases[] = {
      {"7", 7},
      {"2.5", 2},
      {"3.5", 4},
      {"-2.5", -2},
      {"2.51", 3},
      {"1e3", 1000},
      {"2147483647", 2147483647},
      {"-2147483648", INT32_MIN},
      {"2147483648", std::nullopt},
      {"99999999999999999999", std::nullopt},
      {"abc", std::nullopt},
      {"", std::nullopt}};
  for (const auto& [text, whole] : cases) EXPECT_EQ(WholeNumberInText(text), whole) << text;
}

}  // namespace
}  // namespace tavelin
