#pragma once
#include <string>
#include <string_view>

namespace tavelin {

// What a reader of a worksheet's cells is told, cell by cell in the order
// of the file (row by row for the files Excel, LibreOffice and this
// program write). Rows and columns count from 0.
class SheetCellVisitor {
 public:
  virtual ~SheetCellVisitor() = default;
  virtual void Number(unsigned row, unsigned column, double value) = 0;
  virtual void Text(unsigned row, unsigned column, const std::string& utf8) = 0;
};

// The cells of the first worksheet of a BIFF8 workbook (.xls) held whole in
// `file`: numbers (RK, MULRK, NUMBER) and shared texts. False for what is
// not such a workbook, or what this reader does not follow: the caller then
// has a complete reader read it.
bool ReadFirstSheet(std::string_view file, SheetCellVisitor& visitor);

}  // namespace tavelin
