#include <gtest/gtest.h>

#include "logging/StringBuilder.h"

namespace tavelin {
namespace {

TEST(StringBuilder, AppendsAcrossGrowthStepsAndClears) {
  StringBuilder builder;
  builder.Append("");
  EXPECT_EQ(builder.Text(), "");
  const std::string row(999'999, 'r');
  builder.Append(row);
  builder.Append(row);  // past the first step of 1,500,000
  builder.Append("end");
  EXPECT_EQ(builder.View().size(), 2 * row.size() + 3);
  EXPECT_EQ(builder.Text().substr(builder.View().size() - 4), "rend");
  builder.AllClear();
  EXPECT_EQ(builder.Text(), "");
  builder.Append("x");
  EXPECT_EQ(builder.Text(), "x");
  EXPECT_THROW(builder.Append(std::string(1'500'001, 'x')), std::length_error);
  EXPECT_EQ(builder.Text(), "x") << "a text longer than one step is refused";
}

}  // namespace
}  // namespace tavelin
