#include "spreadsheet/ExcelApplication.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "spreadsheet/xls_writer.h"

namespace tavelin {
namespace {

constexpr int kLastRow = 65535;
constexpr int kLastColumn = 255;
constexpr int kAlignRight = -4152;

bool WholeSheet(const CellRect& rect) {
  return rect.top == 0 && rect.left == 0 && rect.bottom == kLastRow && rect.right == kLastColumn;
}

// "J1" -> (0, 9)
std::pair<int, int> CellAddress(const std::string& text) {
  std::size_t at = 0;
  std::string letters;
  while (at < text.size() && std::isalpha(static_cast<unsigned char>(text[at])))
    letters += text[at++];
  if (letters.empty() || at == text.size()) throw std::invalid_argument("no cell address: " + text);
  const int row = std::stoi(text.substr(at));
  return {row - 1, ColumnNumber(letters) - 1};
}

CellRect Checked(CellRect rect) {
  if (rect.top < 0 || rect.left < 0 || rect.bottom > kLastRow || rect.right > kLastColumn ||
      rect.top > rect.bottom || rect.left > rect.right) {
    throw std::out_of_range("a range outside the sheet");
  }
  return rect;
}

}  // namespace

int ColumnNumber(const std::string& letters) {
  int number = 0;
  for (char c : letters) {
    const char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (upper < 'A' || upper > 'Z') throw std::invalid_argument("no column: " + letters);
    number = number * 26 + (upper - 'A' + 1);
  }
  if (number < 1 || number > kLastColumn + 1) throw std::out_of_range("no column: " + letters);
  return number;
}

// ---- Range ----

void Range::value(const std::string& text) {
  for (int r = rect_.top; r <= rect_.bottom; ++r) {
    for (int c = rect_.left; c <= rect_.right; ++c) {
      sheet_->texts[{r, c}] = {text, sheet_->nextOrder++};
    }
  }
}

void Range::value(const std::vector<std::string>& row) {
  for (int c = rect_.left; c <= rect_.right; ++c) {
    const auto index = static_cast<std::size_t>(c - rect_.left);
    sheet_->texts[{rect_.top, c}] = {index < row.size() ? row[index] : std::string(),
                                     sheet_->nextOrder++};
  }
}

void Range::value(const CellGrid& array) {
  CellRect block = rect_;
  block.bottom = std::min(block.bottom, block.top + array.Rows() - 1);
  block.right = std::min(block.right, block.left + array.Columns() - 1);
  sheet_->blocks.push_back({block, &array, sheet_->nextOrder++});
}

void Range::Layer(StyleLayer::Property property, double value) {
  sheet_->layers.push_back({property, rect_, value});
}

void Range::FontPart::size(double points) {
  if (WholeSheet(range.rect_)) {
    range.sheet_->sheetFontSize = points;  // the workbook's default font
    range.sheet_->layers.clear();
    return;
  }
  range.Layer(StyleLayer::Property::FontSize, points);
}

void Range::InteriorPart::ColorIndex(int index) {
  if (index < 1 || index > 56) {
    throw std::out_of_range("ColorIndex " + std::to_string(index) + " outside the palette 1..56");
  }
  range.Layer(StyleLayer::Property::Fill, index);
}

void Range::BordersPart::LineStyle(int style) {
  range.Layer(StyleLayer::Property::Border, style);
}

void Range::MergeCells(bool merged) {
  if (merged) sheet_->merges.push_back(rect_);
}

void Range::HorizontalAlignment(int alignment) {
  Layer(StyleLayer::Property::AlignRight, alignment == kAlignRight ? 1.0 : 0.0);
}

void Range::ColumnWidth(double characters) {
  for (int c = rect_.left; c <= rect_.right; ++c) sheet_->columnWidths[c] = characters;
}

void Range::AutoFilter(int /*field*/) {
  const bool single = rect_.top == rect_.bottom && rect_.left == rect_.right;
  sheet_->autoFilter = single ? sheet_->CurrentRegion(rect_.top, rect_.left) : rect_;
}

// ---- Worksheet ----

Range Worksheet::cells() {
  return {data_, {0, 0, kLastRow, kLastColumn}};
}

Range Worksheet::cells(int row, int column) {
  return {data_, Checked({row - 1, column - 1, row - 1, column - 1})};
}

Range Worksheet::GetRange(const std::string& address) {
  const auto colon = address.find(':');
  const auto first = CellAddress(address.substr(0, colon));
  const auto last = colon == std::string::npos ? first : CellAddress(address.substr(colon + 1));
  return {data_, Checked({first.first, first.second, last.first, last.second})};
}

Range Worksheet::GetRange(const Range& first, const Range& last) {
  return {data_,
          Checked({first.Rect().top, first.Rect().left, last.Rect().bottom, last.Rect().right})};
}

Range Worksheet::Columns(int column) {
  return {data_, Checked({0, column - 1, kLastRow, column - 1})};
}

Range Worksheet::Columns(const std::string& columns) {
  const auto colon = columns.find(':');
  const int first = ColumnNumber(columns.substr(0, colon));
  const int last = colon == std::string::npos ? first : ColumnNumber(columns.substr(colon + 1));
  return {data_, Checked({0, first - 1, kLastRow, last - 1})};
}

// ---- Workbook and application ----

void Workbook::SaveAs(const std::string& path) {
  WriteXls(sheet_.Data(), path);
}

std::function<void()> Workbook::SaveAsLater(const std::string& path) {
  auto sheet = std::make_shared<const SheetData>(std::move(sheet_.Data()));
  sheet_.Data() = SheetData();
  return [sheet, path] { WriteXls(*sheet, path); };
}

Workbook& ExcelApplication::Add() {
  workbook_ = std::make_unique<Workbook>();
  return *workbook_;
}

Worksheet& ExcelApplication::ActiveSheet() {
  return ActiveWorkbook().ActiveSheet();
}

Workbook& ExcelApplication::ActiveWorkbook() {
  if (!workbook_) throw std::logic_error("no workbook is open");
  return *workbook_;
}

void ExcelApplication::Quit() {
  workbook_.reset();
  quitted_ = true;
}

}  // namespace tavelin
