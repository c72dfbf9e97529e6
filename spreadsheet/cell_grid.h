#pragma once
#include <string_view>
#include <vector>

namespace tavelin {

// A two-dimensional array of texts, as it is pushed into a sheet at once.
class CellGrid {
 public:
  virtual ~CellGrid() = default;
  virtual int Rows() const = 0;
  virtual int Columns() const = 0;
  // The texts of columns 0 to columns - 1 of a row; empty where nothing is.
  virtual void Row(int row, int columns, std::vector<std::string_view>& out) const = 0;
  // Whether any of columns [first, last] of a row holds a text.
  virtual bool RowHasText(int row, int first, int last) const = 0;
  // The rows from the first that may hold a text: the rows after them hold
  // none, so a sheet need not walk them.
  virtual int RowsInUse() const { return Rows(); }
};

}  // namespace tavelin
