#pragma once
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "spreadsheet/cell_grid.h"

namespace tavelin {

// A block of cells, zero-based and inclusive.
struct CellRect {
  int top = 0, left = 0, bottom = 0, right = 0;
  bool Contains(int row, int column) const {
    return row >= top && row <= bottom && column >= left && column <= right;
  }
};

// One formatting call on a range; later calls win where they overlap.
struct StyleLayer {
  enum class Property { FontSize, Fill, Border, AlignRight } property;
  CellRect rect;
  double value;
};

// The resolved look of one cell.
struct CellStyle {
  double fontSize = 10.0;
  int fill = 0;  // palette index, 0 for none
  bool border = false;
  bool alignRight = false;
  auto operator<=>(const CellStyle&) const = default;
};

// One formatting call's part in a cell's look.
void ApplyLayer(const StyleLayer& layer, CellStyle& style);

// A pushed array: its texts are read when the workbook is saved, so it
// must stay as it is until then.
struct PushedBlock {
  CellRect rect;
  const CellGrid* grid;
  uint64_t order;  // a later value call wins over an earlier one
};

struct CellText {
  std::string text;
  uint64_t order;
};

// What a sheet holds: values, formats, widths, merges and the filter.
struct SheetData {
  double sheetFontSize = 10.0;
  std::map<std::pair<int, int>, CellText> texts;  // (row, column) -> text
  uint64_t nextOrder = 0;
  std::vector<PushedBlock> blocks;
  std::vector<StyleLayer> layers;
  std::map<int, double> columnWidths;  // column -> characters
  std::vector<CellRect> merges;
  std::optional<CellRect> autoFilter;

  bool RowHasText(int row, int first, int last) const;
  // The block of filled cells around a cell, bounded by empty rows and columns.
  CellRect CurrentRegion(int row, int column) const;
};

}  // namespace tavelin
