// Our workbook reader against libfreexl, a reader nobody here wrote, over
// every kind of cell the writer makes.
#include "spreadsheet/xls_reader.h"

#include <freexl.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <variant>

#include "spreadsheet/ExcelApplication.h"
#include "spreadsheet/xls_writer.h"
#include "support/simulation.h"

namespace tavelin {
namespace {

using Cells = std::map<std::pair<unsigned, unsigned>, std::variant<double, std::string>>;

struct Collected final : SheetCellVisitor {
  Cells cells;
  void Number(unsigned row, unsigned column, double value) override {
    cells[{row, column}] = value;
  }
  void Text(unsigned row, unsigned column, const std::string& text) override {
    cells[{row, column}] = text;
  }
};

Cells ByFreexl(const std::string& path) {
  Cells cells;
  const void* book = nullptr;
  unsigned rows = 0;
  unsigned short columns = 0;
  EXPECT_EQ(freexl_open(path.c_str(), &book), FREEXL_OK);
  freexl_select_active_worksheet(book, 0);
  freexl_worksheet_dimensions(book, &rows, &columns);
  for (unsigned r = 0; r < rows; ++r) {
    for (unsigned short c = 0; c < columns; ++c) {
      FreeXL_CellValue value{};
      freexl_get_cell_value(book, r, c, &value);
      if (value.type == FREEXL_CELL_INT) cells[{r, c}] = static_cast<double>(value.value.int_value);
      if (value.type == FREEXL_CELL_DOUBLE) cells[{r, c}] = value.value.double_value;
      if (value.type == FREEXL_CELL_TEXT || value.type == FREEXL_CELL_SST_TEXT)
        cells[{r, c}] = std::string(value.value.text_value);
    }
  }
  freexl_close(book);
  return cells;
}

std::string Bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(XlsReader, ReadsEveryCellAsLibfreexlDoes) {
  Worksheet sheet;
  for (int r = 1; r <= 400; ++r) {
    sheet.cells(r, 1).value(std::to_string(r * 1000 - 200000));       // whole numbers
    sheet.cells(r, 2).value(std::to_string(r) + ".25");               // hundredths
    sheet.cells(r, 3).value(std::to_string(r) + ".333333333333333");  // a double
    for (int c = 4; c <= 9; ++c) sheet.cells(r, c).value(std::to_string(r * c % 4096));
    // Texts long enough that the shared strings go on in CONTINUE records,
    // some of them cut there: Japanese (two bytes a character) and ASCII.
    std::string text = "炉" + std::to_string(r);
    for (int k = 0; k < r % 97; ++k) text += (r % 2 == 0 ? "温度" : "ab");
    sheet.cells(r, 10).value(text);
  }
  test::TempFolder folder;
  const std::string path = (folder.Path() / "cells.xls").string();
  WriteXls(sheet.Data(), path);
  Collected ours;
  ASSERT_TRUE(ReadFirstSheet(Bytes(path), ours));
  const Cells theirs = ByFreexl(path);
  EXPECT_EQ(ours.cells.size(), 4000u);
  EXPECT_EQ(ours.cells, theirs);
  EXPECT_EQ(std::get<double>(ours.cells.at({0, 0})), -199000.0);
  EXPECT_EQ(std::get<double>(ours.cells.at({2, 1})), 3.25);
}

// What is not a workbook it follows is left to the complete reader, never
// read past its end.
TEST(XlsReader, ACutOrForeignFileIsLeftToTheCompleteReader) {
  Worksheet sheet;
  for (int r = 1; r <= 3000; ++r) sheet.cells(r, 1).value(std::to_string(r));
  test::TempFolder folder;
  const std::string path = (folder.Path() / "cut.xls").string();
  WriteXls(sheet.Data(), path);
  const std::string whole = Bytes(path);
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{100}, std::size_t{512}, whole.size() / 2, whole.size() - 1}) {
    Collected cells;
    EXPECT_FALSE(ReadFirstSheet(whole.substr(0, size), cells)) << size;
  }
  Collected text;
  EXPECT_FALSE(ReadFirstSheet("時間[ms]  ,ch0\r\n1 , 2\r\n", text));
  // A directory whose chain ends before its first sector (found by the fuzzer).
  std::string noDirectory = whole;
  noDirectory.replace(0x30, 4, "\xFE\xFF\xFF\xFF");
  Collected none;
  EXPECT_FALSE(ReadFirstSheet(noDirectory, none));
}

}  // namespace
}  // namespace tavelin
