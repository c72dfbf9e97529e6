// The pieces of the workbook writer that no outside reader checks alone.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "spreadsheet/ExcelApplication.h"
#include "spreadsheet/compact_cell_table.h"
#include "spreadsheet/xls_writer.h"

namespace tavelin {
namespace {

TEST(CompactCellTable, KeepsTextsInAnyOrderOfWriting) {
  CompactCellTable table;
  table.Let(5, 0, "12.5");
  table.Let(5, 1, "1");
  table.Let(5, 3, "x");  // past the end: column 2 stays empty
  EXPECT_EQ(table.Get(5, 2), "");
  EXPECT_EQ(table.Get(5, 3), "x");
  table.Let(5, 1, std::string(300, 'L'));  // an overwrite with a long text
  EXPECT_EQ(table.Get(5, 1).size(), 300u);
  EXPECT_EQ(table.Get(5, 0), "12.5");
  EXPECT_EQ(table.Get(5, 3), "x");
  EXPECT_EQ(table.Get(20000, 128), "");
  std::vector<std::string_view> row;
  table.Row(5, 4, row);
  EXPECT_EQ(row[3], "x");
  EXPECT_TRUE(table.RowHasText(5, 2, 3));
  EXPECT_FALSE(table.RowHasText(5, 2, 2));
  table.Clear();
  EXPECT_EQ(table.Get(5, 0), "");
  EXPECT_THROW(table.Let(20001, 0, "x"), std::out_of_range);
  EXPECT_THROW(table.Get(0, 129), std::out_of_range);
  EXPECT_THROW(table.Get(-1, 0), std::out_of_range);
}

TEST(EncodeRk, TakesTheSmallestFormThatIsExact) {
  struct Case {
    double value;
    bool encodes;
    uint32_t rk;
  } cases[] = {
      {0, true, 2},
      {1, true, 6},
      {-1, true, 0xFFFFFFFE},
      {536870911, true, (536870911u << 2) | 2},
      {536870912, true, std::bit_cast<uint64_t>(536870912.0) >> 32},  // a double with a short tail
      {12.34, true, (1234u << 2) | 3},
      {0.5, true, (50u << 2) | 3},
      {300.125, true, std::bit_cast<uint64_t>(300.125) >> 32},  // exact in a short double
      {1.0 / 3.0, false, 0},
      {300.126, false, 0},
  };
  for (const Case& c : cases) {
    uint32_t rk = 0;
    EXPECT_EQ(EncodeRk(c.value, rk), c.encodes) << c.value;
    if (c.encodes) {
      EXPECT_EQ(rk, c.rk) << c.value;
    }
  }
}

TEST(Worksheet, AddressesAndTheRegionAroundACell) {
  Worksheet sheet;
  EXPECT_EQ(ColumnNumber("DY"), 129);
  EXPECT_EQ(sheet.GetRange("J1:M1").Rect().right, 12);
  EXPECT_THROW(sheet.cells(0, 1), std::out_of_range);
  EXPECT_THROW(sheet.GetRange("1A"), std::invalid_argument);
  sheet.cells(1, 1).value("title");
  sheet.cells(6, 2).value("comment");
  sheet.GetRange(sheet.cells(7, 1), sheet.cells(7, 3))
      .value(std::vector<std::string>{"t", "a", "b"});
  sheet.cells(8, 3).value("1");
  const CellRect region = sheet.Data().CurrentRegion(6, 0);
  EXPECT_EQ(region.top, 5);  // bounded by the empty rows 4 and 5
  EXPECT_EQ(region.bottom, 7);
  EXPECT_EQ(region.left, 0);
  EXPECT_EQ(region.right, 2);
}

}  // namespace
}  // namespace tavelin
