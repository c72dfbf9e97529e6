#include "platform/number_text.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tavelin {
namespace {

struct Case {
  double value;
  const char* text;
};

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
  };
  for (const Case& c : cases) EXPECT_EQ(NumberText(c.value), c.text) << c.value;
}

TEST(NumberText, NonNumbersHaveAText) {
  EXPECT_EQ(NumberText(std::nan("")), "NaN");
  EXPECT_EQ(NumberText(-INFINITY), "-Inf");
}

}  // namespace
}  // namespace tavelin
