#include "spreadsheet/compact_cell_table.h"

#include <algorithm>
#include <stdexcept>

namespace tavelin {
namespace {

constexpr unsigned char kLongText = 255;  // followed by a 16-bit length

void PutCell(std::string& packed, std::string_view text) {
  if (text.size() < kLongText) {
    packed += static_cast<char>(text.size());
  } else {
    if (text.size() > UINT16_MAX) throw std::length_error("a log cell longer than 65,535 bytes");
    packed += static_cast<char>(kLongText);
    packed += static_cast<char>(text.size() & 0xFF);
    packed += static_cast<char>(text.size() >> 8);
  }
  packed += text;
}

// Reads the cell at `at` and moves past it.
std::string_view NextCell(std::string_view packed, std::size_t& at) {
  std::size_t length = static_cast<unsigned char>(packed[at++]);
  if (length == kLongText) {
    length = static_cast<unsigned char>(packed[at]) |
             (static_cast<std::size_t>(static_cast<unsigned char>(packed[at + 1])) << 8);
    at += 2;
  }
  const std::string_view text(packed.data() + at, length);
  at += length;
  return text;
}

}  // namespace

// Room for every row, but rows made only as they are reached: a program
// that never logs does not write 1.3 MB of empty rows at its start.
CompactCellTable::CompactCellTable() {
  rows_.reserve(kRows);
}

void CompactCellTable::Check(int row, int column) {
  if (row < 0 || row >= kRows || column < 0 || column >= kColumns) {
    throw std::out_of_range("log cell (" + std::to_string(row) + ", " + std::to_string(column) +
                            ") outside 20001 x 129");
  }
}

std::string_view CompactCellTable::Packed(int row) const {
  if (row < 0 || static_cast<std::size_t>(row) >= rows_.size()) return {};
  return rows_[static_cast<std::size_t>(row)].cells;
}

std::string CompactCellTable::Get(int16_t row, int16_t column) const {
  Check(row, column);
  const std::string_view packed = Packed(row);
  std::size_t at = 0;
  for (int c = 0; at < packed.size(); ++c) {
    const std::string_view text = NextCell(packed, at);
    if (c == column) return std::string(text);
  }
  return {};
}

void CompactCellTable::Let(int16_t row, int16_t column, std::string_view text) {
  Check(row, column);
  if (static_cast<std::size_t>(row) >= rows_.size()) {
    rows_.resize(static_cast<std::size_t>(row) + 1);  // within the room reserved
  }
  auto& [packed, cells] = rows_[static_cast<std::size_t>(row)];
  rowsInUse_ = std::max(rowsInUse_, row + 1);
  if (column >= cells) {
    // The usual case: a row filled from left to right.
    for (; cells < column; ++cells) PutCell(packed, {});
    PutCell(packed, text);
    cells = static_cast<uint8_t>(column + 1);
    return;
  }
  // Written over: the cell's bytes are replaced where they stand.
  std::size_t start = 0;
  for (int c = 0; c < column; ++c) NextCell(packed, start);
  std::size_t end = start;
  NextCell(packed, end);
  std::string cell;
  PutCell(cell, text);
  packed.replace(start, end - start, cell);
}

void CompactCellTable::Clear() {
  const auto used = static_cast<std::ptrdiff_t>(rowsInUse_);
  // Each row keeps its room for the next run.
  std::for_each(rows_.begin(), rows_.begin() + used, [](PackedRow& row) {
    row.cells.clear();
    row.count = 0;
  });
  rowsInUse_ = 0;
}

void CompactCellTable::Row(int row, int columns, std::vector<std::string_view>& out) const {
  out.assign(static_cast<std::size_t>(columns), std::string_view());
  const std::string_view packed = Packed(row);
  std::size_t at = 0;
  for (int c = 0; c < columns && at < packed.size(); ++c)
    out[static_cast<std::size_t>(c)] = NextCell(packed, at);
}

bool CompactCellTable::RowHasText(int row, int first, int last) const {
  const std::string_view packed = Packed(row);
  std::size_t at = 0;
  for (int c = 0; c <= last && at < packed.size(); ++c) {
    if (!NextCell(packed, at).empty() && c >= first) return true;
  }
  return false;
}

}  // namespace tavelin
