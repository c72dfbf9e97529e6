#include "common/rounding.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kvr {
namespace {

struct Case {
  double value;
  int32_t digit;
  double rounded;
};

TEST(RoundAtDigit, HalfAwayFromZeroOnTheDecimalText) {
  const Case cases[] = {
      {2.5, 1, 3.0},         {-2.5, 1, -3.0},
      {2.4999, 1, 2.0},      {0.4, 1, 0.0},
      {-0.4, 1, 0.0},        {123.456, 2, 123.5},
      {123.45, 3, 123.45},   {2.675, 3, 2.68},
      {1.005, 3, 1.01},      {-1.005, 3, -1.01},
      {0.05, 2, 0.1},        {0.04, 2, 0.0},
      {999.96, 2, 1000.0},   {0.123456789, 10, 0.123456789},
      {12345.678, 0, 12346}, {1.23456789012345e20, 3, 1.23456789012345e20},
      {7.0, 5, 7.0},
  };
  for (const Case& c : cases) {
    EXPECT_DOUBLE_EQ(RoundAtDigit(c.value, c.digit), c.rounded) << c.value << " at " << c.digit;
  }
  EXPECT_FALSE(std::signbit(RoundAtDigit(-0.04, 2))) << "never a negative zero";
}

}  // namespace
}  // namespace kvr
