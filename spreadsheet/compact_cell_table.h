#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "spreadsheet/cell_grid.h"

namespace tavelin {

// The row buffer of the spreadsheet log: 20,001 rows of 129 texts, each row
// packed into one string (a length and the bytes of each cell in column
// order), so a full buffer costs a few megabytes, not 2.6 million strings.
class CompactCellTable final : public CellGrid {
 public:
  static constexpr int kRows = 20001;
  static constexpr int kColumns = 129;

  CompactCellTable();

  // Indices outside the table throw.
  std::string Get(int16_t row, int16_t column) const;
  void Let(int16_t row, int16_t column, std::string_view text);
  // Every cell to the empty text.
  void Clear();

  int Rows() const override { return kRows; }
  int Columns() const override { return kColumns; }
  void Row(int row, int columns, std::vector<std::string_view>& out) const override;
  bool RowHasText(int row, int first, int last) const override;
  int RowsInUse() const override { return rowsInUse_; }

 private:
  struct PackedRow {
    std::string cells;
    uint8_t count = 0;  // cells packed, for appending
  };
  static void Check(int row, int column);
  // The packed cells of `row`, empty for a row not yet made.
  std::string_view Packed(int row) const;

  std::vector<PackedRow> rows_;
  int rowsInUse_ = 0;  // rows from the first that were written
};

}  // namespace tavelin
