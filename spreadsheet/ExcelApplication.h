#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "spreadsheet/cell_grid.h"
#include "spreadsheet/worksheet.h"

namespace tavelin {

class Worksheet;

// A cell or a block of cells of a sheet, with the members the log uses.
class Range {
 public:
  Range(SheetData& sheet, CellRect rect) : sheet_(&sheet), rect_(rect) {}

  // One text for every cell; a text that looks like a number becomes a number.
  void value(const std::string& text);
  // One text per column of a one-row range.
  void value(const std::vector<std::string>& row);
  // A whole array at once, its top left corner at the range's.
  void value(const CellGrid& array);

  struct FontPart {
    Range& range;
    void size(double points);
  };
  struct InteriorPart {
    Range& range;
    void ColorIndex(int index);
  };
  struct BordersPart {
    Range& range;
    void LineStyle(int style);
  };
  FontPart Font() { return {*this}; }
  InteriorPart Interior() { return {*this}; }
  BordersPart Borders() { return {*this}; }

  void MergeCells(bool merged);
  void HorizontalAlignment(int alignment);  // -4152: right
  void ColumnWidth(double characters);
  // On a single cell: the filter over the block of filled cells around it.
  void AutoFilter(int field);

  const CellRect& Rect() const { return rect_; }

 private:
  void Layer(StyleLayer::Property property, double value);
  SheetData* sheet_;
  CellRect rect_;
};

// A sheet; rows and columns count from 1, as in the application.
class Worksheet {
 public:
  Range cells();
  Range cells(int row, int column);
  Range GetRange(const std::string& address);  // "J1:M1", "A7"
  Range GetRange(const Range& first, const Range& last);
  Range Columns(int column);
  Range Columns(const std::string& columns);  // "B:DY"

  SheetData& Data() { return data_; }
  const SheetData& Data() const { return data_; }

 private:
  SheetData data_;
};

class Workbook {
 public:
  Worksheet& ActiveSheet() { return sheet_; }
  // Writes the workbook as a BIFF8 .xls file, replacing one at the path.
  void SaveAs(const std::string& path);
  // The same save as work to run later, on any thread: it takes the sheet
  // with it and leaves the workbook empty. The arrays pushed into the sheet
  // are read when it runs, so they must stay as they are until then.
  std::function<void()> SaveAsLater(const std::string& path);
  void Close() {}

 private:
  Worksheet sheet_;
};

// The workbook application: lives from Connect to Disconnect, makes one
// workbook per log file, and saves real .xls files.
class ExcelApplication {
 public:
  bool Visible = true;
  bool ScreenUpdating = true;
  bool Interactive = true;
  bool DisplayAlerts = true;

  ExcelApplication& Application() { return *this; }
  ExcelApplication& Workbooks() { return *this; }
  Workbook& Add();
  Worksheet& ActiveSheet();
  Workbook& ActiveWorkbook();
  void Quit();
  bool Quitted() const { return quitted_; }

 private:
  std::unique_ptr<Workbook> workbook_;
  bool quitted_ = false;
};

// A column's number from its letters: "A" 1, "DY" 129.
int ColumnNumber(const std::string& letters);

}  // namespace tavelin
