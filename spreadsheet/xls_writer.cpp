#include "spreadsheet/xls_writer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/file_system.h"
#include "platform/little_endian.h"
#include "platform/number_text.h"
#include "platform/utf8.h"
#include "spreadsheet/biff_records.h"
#include "spreadsheet/compound_file.h"
#include "spreadsheet/filter_arrows.h"

namespace tavelin {
namespace {

using le::F64;
using le::PatchU16;
using le::PatchU32;
using le::U16;
using le::U32;
using le::U8;

constexpr std::size_t kMaxRecordData = 8224;

// A record whose length is filled in when it ends.
class Record {
 public:
  Record(std::string& out, uint16_t id) : out_(out), start_(out.size()) {
    U16(out, id);
    U16(out, 0);
  }
  ~Record() { PatchU16(out_, start_ + 2, static_cast<uint16_t>(out_.size() - start_ - 4)); }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

 private:
  std::string& out_;
  std::size_t start_;
};

void Simple16(std::string& out, uint16_t id, uint16_t value) {
  Record record(out, id);
  U16(out, value);
}

bool Compressible(const std::u16string& text) {
  return std::all_of(text.begin(), text.end(), [](char16_t c) { return c <= 0xFF; });
}

void Characters(std::string& out, const std::u16string& text, bool compressed) {
  for (char16_t c : text) {
    if (compressed) {
      U8(out, static_cast<uint8_t>(c));
    } else {
      U16(out, c);
    }
  }
}

// A short text with a one-byte count, as in FONT and BOUNDSHEET.
void ShortText(std::string& out, std::string_view utf8) {
  const std::u16string text = Utf16Of(utf8);
  const bool compressed = Compressible(text);
  U8(out, static_cast<uint8_t>(text.size()));
  U8(out, compressed ? 0 : 1);
  Characters(out, text, compressed);
}

// ---- styles ----

struct StyleTable {
  std::map<double, uint16_t> fonts;  // size -> font index (0 is the sheet font)
  std::map<CellStyle, uint16_t> xfs;
  std::vector<CellStyle> order;
  CellStyle sheetDefault;

  explicit StyleTable(double sheetFontSize) {
    sheetDefault.fontSize = sheetFontSize;
    fonts[sheetFontSize] = 0;
  }

  uint16_t FontOf(double size) {
    const auto found = fonts.find(size);
    if (found != fonts.end()) return found->second;
    const auto index = static_cast<uint16_t>(fonts.size() + 4);  // 1-3 copy 0, 4 never exists
    fonts[size] = index;
    return index;
  }

  uint16_t XfOf(const CellStyle& style) {
    if (style == sheetDefault) return 15;
    const auto found = xfs.find(style);
    if (found != xfs.end()) return found->second;
    FontOf(style.fontSize);
    const auto index = static_cast<uint16_t>(16 + order.size());
    xfs[style] = index;
    order.push_back(style);
    return index;
  }
};

// ColorIndex n (1 to 56) is entry n - 1 of the default palette, which the
// file addresses as colour index n + 7: indices 0 to 7 are fixed colours.
uint16_t PaletteColourIndex(int colorIndex) {
  return static_cast<uint16_t>(colorIndex + 7);
}

void Xf(std::string& out, uint16_t font, bool styleXf, const CellStyle& style) {
  Record record(out, 0x00E0);
  U16(out, font);
  U16(out, 0);                          // General
  U16(out, styleXf ? 0xFFF5 : 0x0001);  // locked; style XF with parent 0xFFF
  U8(out, static_cast<uint8_t>((style.alignRight ? 3 : 0) | (2 << 4)));  // bottom
  U8(out, 0);
  U8(out, 0);
  U8(out, styleXf ? 0xF4 : 0xF8);
  const uint32_t line = style.border ? 1 : 0;
  const uint32_t lineColour = style.border ? 8 : 0;
  U32(out,
      line | (line << 4) | (line << 8) | (line << 12) | (lineColour << 16) | (lineColour << 23));
  const uint32_t pattern = style.fill != 0 ? 1 : 0;
  U32(out, lineColour | (lineColour << 7) | (pattern << 26));
  U16(out,
      static_cast<uint16_t>((style.fill != 0 ? PaletteColourIndex(style.fill) : 64) | (65 << 7)));
}

void Font(std::string& out, double size) {
  Record record(out, 0x0031);
  U16(out, static_cast<uint16_t>(std::lround(size * 20)));
  U16(out, 0);
  U16(out, 0x7FFF);
  U16(out, 400);
  U16(out, 0);
  U8(out, 0);
  U8(out, 0);
  U8(out, 128);  // Shift-JIS: the logs are Japanese
  U8(out, 0);
  ShortText(out, "ＭＳ Ｐゴシック");
}

// ---- shared strings ----

struct SharedStrings {
  std::unordered_map<std::string, uint32_t> index;
  std::vector<std::u16string> strings;
  uint32_t references = 0;

  uint32_t Of(std::string_view text) {
    ++references;
    const auto found = index.find(std::string(text));
    if (found != index.end()) return found->second;
    const auto i = static_cast<uint32_t>(strings.size());
    index.emplace(std::string(text), i);
    strings.push_back(Utf16Of(text));
    return i;
  }
};

// SST with CONTINUE records, and EXTSST with the place of every bucket's
// first string. `streamOffset` is where the SST record starts in the stream.
void WriteSharedStrings(std::string& out, const SharedStrings& sst) {
  const std::size_t perBucket = std::max<std::size_t>(sst.strings.size() / 128 + 1, 8);
  std::vector<std::pair<uint32_t, uint16_t>> buckets;  // absolute offset, offset in record

  std::size_t recordStart = out.size();
  U16(out, biff::kSst);
  U16(out, 0);
  U32(out, sst.references);
  U32(out, static_cast<uint32_t>(sst.strings.size()));
  const auto endRecord = [&] {
    PatchU16(out, recordStart + 2, static_cast<uint16_t>(out.size() - recordStart - 4));
  };
  const auto room = [&] { return kMaxRecordData - (out.size() - recordStart - 4); };
  const auto continueRecord = [&] {
    endRecord();
    recordStart = out.size();
    U16(out, biff::kContinue);
    U16(out, 0);
  };

  for (std::size_t i = 0; i < sst.strings.size(); ++i) {
    const std::u16string& text = sst.strings[i];
    const bool compressed = Compressible(text);
    const std::size_t charBytes = compressed ? 1 : 2;
    if (room() < 3 + charBytes) continueRecord();  // never split the count and flags
    if (i % perBucket == 0) {
      buckets.emplace_back(static_cast<uint32_t>(out.size()),
                           static_cast<uint16_t>(out.size() - recordStart));
    }
    U16(out, static_cast<uint16_t>(text.size()));
    U8(out, compressed ? 0 : 1);
    std::size_t done = 0;
    while (done < text.size()) {
      const std::size_t fits = std::min(text.size() - done, room() / charBytes);
      Characters(out, text.substr(done, fits), compressed);
      done += fits;
      if (done < text.size()) {
        continueRecord();
        U8(out, compressed ? 0 : 1);  // the characters go on after a repeated flags byte
      }
    }
  }
  endRecord();

  Record extsst(out, 0x00FF);
  U16(out, static_cast<uint16_t>(perBucket));
  for (const auto& [absolute, inRecord] : buckets) {
    U32(out, absolute);
    U16(out, inRecord);
    U16(out, 0);
  }
}

// ---- cells ----

struct OutCell {
  int column;
  enum class Kind { Rk, Number, Text, Blank } kind;
  uint32_t rk;
  double number;
  uint32_t sst;
  uint16_t xf;
};

// Row, column and format: how every cell record begins.
void CellHead(std::string& out, int row, int column, uint16_t xf) {
  U16(out, static_cast<uint16_t>(row));
  U16(out, static_cast<uint16_t>(column));
  U16(out, xf);
}

bool IsDigit(std::string_view text) {
  return text.size() == 1 && text[0] >= '0' && text[0] <= '9';
}

// The RK form of a one-digit whole number.
uint32_t DigitRk(std::string_view digit) {
  return (static_cast<uint32_t>(digit[0] - '0') << 2) | 2;
}

// One row's cells by column, each made where it stays: a log's row holds up
// to 129 of them, 20,001 times a file, so they are neither moved nor sorted.
class RowCells {
 public:
  static constexpr int kColumns = 256;

  void Start() {
    std::fill(state_.begin(), state_.end(), kOpen);
    first_ = kColumns;
    last_ = -1;
  }
  bool Decided(int column) const { return state_[Index(column)] != kOpen; }
  bool Filled(int column) const { return state_[Index(column)] == kFilled; }
  // Settles the column's value: left blank, or the cell to fill in.
  void SettleEmpty(int column) { state_[Index(column)] = kEmpty; }
  OutCell& Fill(int column) {
    state_[Index(column)] = kFilled;
    first_ = std::min(first_, column);
    last_ = std::max(last_, column);
    OutCell& cell = cells_[Index(column)];
    cell.column = column;
    return cell;
  }
  bool Empty() const { return last_ < 0; }
  int First() const { return first_; }
  int Last() const { return last_; }
  const OutCell& At(int column) const { return cells_[Index(column)]; }

 private:
  enum : uint8_t { kOpen, kEmpty, kFilled };
  // Every column was checked with the sheet (CheckInsideTheSheet).
  static std::size_t Index(int column) { return static_cast<std::size_t>(column); }
  std::array<OutCell, kColumns> cells_{};
  std::array<uint8_t, kColumns> state_{};
  int first_ = kColumns, last_ = -1;
};

// MULRK: a run of numbers side by side, written in place, as most of a
// log's bytes are in them.
void WriteRkRun(std::string& out, int row, const RowCells& cells, int first, int last) {
  const auto count = static_cast<std::size_t>(last - first + 1);
  const std::size_t length = 4 + 6 * count + 2;
  const std::size_t at = out.size();
  out.resize(at + 4 + length);
  char* p = out.data() + at;
  const auto put16 = [&p](uint16_t v) {
    p[0] = static_cast<char>(v);
    p[1] = static_cast<char>(v >> 8);
    p += 2;
  };
  put16(biff::kMulRk);
  put16(static_cast<uint16_t>(length));
  put16(static_cast<uint16_t>(row));
  put16(static_cast<uint16_t>(first));
  for (int column = first; column <= last; ++column) {
    const OutCell& cell = cells.At(column);
    put16(cell.xf);
    put16(static_cast<uint16_t>(cell.rk));
    put16(static_cast<uint16_t>(cell.rk >> 16));
  }
  put16(static_cast<uint16_t>(last));
}

void WriteCells(std::string& out, int row, const RowCells& cells) {
  const auto isRk = [&](int column) {
    return cells.Filled(column) && cells.At(column).kind == OutCell::Kind::Rk;
  };
  for (int column = cells.First(); column <= cells.Last();) {
    if (!cells.Filled(column)) {
      ++column;
      continue;
    }
    const OutCell& cell = cells.At(column);
    if (cell.kind == OutCell::Kind::Rk) {
      int end = column + 1;
      while (end <= cells.Last() && end - column < 256 && isRk(end)) ++end;
      if (end - column >= 2) {
        WriteRkRun(out, row, cells, column, end - 1);
      } else {
        Record record(out, biff::kRk);
        CellHead(out, row, column, cell.xf);
        U32(out, cell.rk);
      }
      column = end;
      continue;
    }
    switch (cell.kind) {
      case OutCell::Kind::Number: {
        Record record(out, biff::kNumber);
        CellHead(out, row, column, cell.xf);
        F64(out, cell.number);
        break;
      }
      case OutCell::Kind::Text: {
        Record record(out, biff::kLabelSst);
        CellHead(out, row, column, cell.xf);
        U32(out, cell.sst);
        break;
      }
      default: {
        Record record(out, 0x0201);
        CellHead(out, row, column, cell.xf);
        break;
      }
    }
    ++column;
  }
}

constexpr long kBlankLayerLimit = 65536;  // larger format ranges only restyle filled cells

long Area(const CellRect& r) {
  return static_cast<long>(r.bottom - r.top + 1) * (r.right - r.left + 1);
}

// The format of each column of a row, from the layers over the row. Rows
// under the same layers (all the data rows of a log) share the answers, so
// a format is resolved once per column, not once per cell.
class RowStyles {
 public:
  RowStyles(const SheetData& sheet, StyleTable& styles)
      : sheet_(sheet), styles_(styles), xfs_(256, kUnknown) {}

  void StartRow(int row) {
    next_.clear();
    for (const auto& layer : sheet_.layers) {
      if (row >= layer.rect.top && row <= layer.rect.bottom) next_.push_back(&layer);
    }
    if (next_ == layers_) return;
    layers_.swap(next_);
    std::fill(xfs_.begin(), xfs_.end(), kUnknown);
  }

  uint16_t At(int column) {
    uint32_t& xf = xfs_[static_cast<std::size_t>(column)];
    if (xf == kUnknown) xf = Resolve(column);
    return static_cast<uint16_t>(xf);
  }

 private:
  static constexpr uint32_t kUnknown = UINT32_MAX;

  uint16_t Resolve(int column) const {
    if (layers_.empty()) return 15;
    CellStyle style = styles_.sheetDefault;
    for (const StyleLayer* layer : layers_) {
      if (column >= layer->rect.left && column <= layer->rect.right) ApplyLayer(*layer, style);
    }
    return styles_.XfOf(style);
  }

  const SheetData& sheet_;
  StyleTable& styles_;
  std::vector<const StyleLayer*> layers_, next_;
  std::vector<uint32_t> xfs_;
};

// The sheet's cell records, with the shared strings and styles they use.
struct SheetCells {
  std::string records;
  int firstRow = -1, lastRow = -1, firstColumn = 256, lastColumn = -1;
};

SheetCells BuildCells(const SheetData& sheet, StyleTable& styles, SharedStrings& sst) {
  SheetCells result;
  result.records.reserve(1 << 20);
  int lastRow = -1;
  for (const auto& [place, text] : sheet.texts) lastRow = std::max(lastRow, place.first);
  // A block's rows past those its grid holds give no cell: not walked.
  for (const auto& block : sheet.blocks) {
    lastRow = std::max(lastRow,
                       std::min(block.rect.bottom, block.rect.top + block.grid->RowsInUse() - 1));
  }
  std::vector<const StyleLayer*> smallLayers;
  for (const auto& layer : sheet.layers) {
    if (Area(layer.rect) <= kBlankLayerLimit) {
      smallLayers.push_back(&layer);
      lastRow = std::max(lastRow, layer.rect.bottom);
    }
  }
  if (lastRow < 0) return result;
  result.records.reserve(static_cast<std::size_t>(lastRow + 1) * 800);

  std::vector<std::string_view> blockTexts;
  RowCells cells;
  RowStyles rowStyles(sheet, styles);
  for (int row = 0; row <= lastRow; ++row) {
    cells.Start();
    rowStyles.StartRow(row);
    const auto addValue = [&](int column, std::string_view text) {
      if (text.empty()) {  // an empty text leaves the cell blank
        cells.SettleEmpty(column);
        return;
      }
      OutCell& cell = cells.Fill(column);
      cell.xf = rowStyles.At(column);
      if (IsDigit(text)) {
        cell.kind = OutCell::Kind::Rk;
        cell.rk = DigitRk(text);
      } else if (const auto number = NumberInText(text)) {
        cell.number = *number;
        cell.kind = EncodeRk(*number, cell.rk) ? OutCell::Kind::Rk : OutCell::Kind::Number;
      } else {
        cell.kind = OutCell::Kind::Text;
        cell.sst = sst.Of(text);
      }
    };
    const auto firstText = sheet.texts.lower_bound({row, 0});
    const bool rowHasTexts = firstText != sheet.texts.end() && firstText->first.first == row;
    // Values: where a pushed block and a single text meet, the newer wins.
    for (auto block = sheet.blocks.rbegin(); block != sheet.blocks.rend(); ++block) {
      if (row < block->rect.top || row > block->rect.bottom) continue;
      const int width = block->rect.right - block->rect.left + 1;
      block->grid->Row(row - block->rect.top, width, blockTexts);
      for (int k = 0; k < width; ++k) {
        const int column = block->rect.left + k;
        if (cells.Decided(column)) continue;
        if (rowHasTexts) {
          const auto text = sheet.texts.find({row, column});
          if (text != sheet.texts.end() && text->second.order > block->order) continue;
        }
        const std::string_view text = blockTexts[static_cast<std::size_t>(k)];
        if (IsDigit(text)) {  // a bit: most cells of a log, so made here at once
          OutCell& cell = cells.Fill(column);
          cell.xf = rowStyles.At(column);
          cell.kind = OutCell::Kind::Rk;
          cell.rk = DigitRk(text);
          continue;
        }
        addValue(column, text);
      }
    }
    for (auto text = firstText;
         rowHasTexts && text != sheet.texts.end() && text->first.first == row; ++text) {
      if (!cells.Decided(text->first.second)) addValue(text->first.second, text->second.text);
    }
    // Formatted cells without a value still show their format.
    for (const StyleLayer* layer : smallLayers) {
      if (row < layer->rect.top || row > layer->rect.bottom) continue;
      for (int column = layer->rect.left; column <= layer->rect.right; ++column) {
        if (cells.Filled(column)) continue;
        OutCell& cell = cells.Fill(column);
        cell.kind = OutCell::Kind::Blank;
        cell.xf = rowStyles.At(column);
      }
    }
    if (cells.Empty()) continue;
    std::string& out = result.records;
    {
      Record record(out, 0x0208);
      U16(out, static_cast<uint16_t>(row));
      U16(out, static_cast<uint16_t>(cells.First()));
      U16(out, static_cast<uint16_t>(cells.Last() + 1));
      U16(out, 255);
      U16(out, 0);
      U16(out, 0);
      U16(out, 0x0100);
      U16(out, 15);
    }
    WriteCells(out, row, cells);
    if (result.firstRow < 0) result.firstRow = row;
    result.lastRow = row;
    result.firstColumn = std::min(result.firstColumn, cells.First());
    result.lastColumn = std::max(result.lastColumn, cells.Last());
  }
  return result;
}

// ---- the two substreams ----

void Bof(std::string& out, uint16_t type) {
  Record record(out, biff::kBof);
  U16(out, 0x0600);
  U16(out, type);
  U16(out, 0x0DBB);
  U16(out, 0x07CC);
  U32(out, 0);
  U32(out, 6);
}

void Eof(std::string& out) {
  Record record(out, biff::kEof);
}

// The sheet substream is its head, the cell records, and its tail.
struct SheetParts {
  std::string head;
  std::string tail;
};

SheetParts SheetStream(const SheetData& sheet, const SheetCells& cells) {
  SheetParts parts;
  std::string& out = parts.head;
  Bof(out, 0x0010);
  Simple16(out, 0x000D, 1);
  Simple16(out, 0x000C, 100);
  Simple16(out, 0x000F, 1);
  Simple16(out, 0x0011, 0);
  {
    Record record(out, 0x0010);
    F64(out, 0.001);
  }
  Simple16(out, 0x005F, 1);
  Simple16(out, 0x002A, 0);
  Simple16(out, 0x002B, 0);
  Simple16(out, 0x0082, 1);
  {
    Record record(out, 0x0080);
    for (int i = 0; i < 4; ++i) U16(out, 0);
  }
  {
    Record record(out, 0x0225);
    U16(out, 0);
    U16(out, 255);
  }
  Simple16(out, 0x0081, 0x04C1);
  { Record header(out, 0x0014); }
  { Record footer(out, 0x0015); }
  Simple16(out, 0x0083, 0);
  Simple16(out, 0x0084, 0);
  {
    Record record(out, 0x00A1);
    U16(out, 9);  // A4
    U16(out, 100);
    U16(out, 1);
    U16(out, 1);
    U16(out, 1);
    U16(out, 0x0004);
    U16(out, 0);
    U16(out, 0);
    F64(out, 0.5);
    F64(out, 0.5);
    U16(out, 1);
  }
  Simple16(out, 0x0055, 8);
  for (auto width = sheet.columnWidths.begin(); width != sheet.columnWidths.end();) {
    auto last = width;
    while (std::next(last) != sheet.columnWidths.end() &&
           std::next(last)->first == last->first + 1 && std::next(last)->second == width->second) {
      ++last;
    }
    Record record(out, 0x007D);
    U16(out, static_cast<uint16_t>(width->first));
    U16(out, static_cast<uint16_t>(last->first));
    U16(out, static_cast<uint16_t>(std::lround(std::floor(width->second * 256.0))));
    U16(out, 15);
    U16(out, 0x0002);
    U16(out, 0);
    width = std::next(last);
  }
  if (sheet.autoFilter) {
    Simple16(out, 0x009D,
             static_cast<uint16_t>(sheet.autoFilter->right - sheet.autoFilter->left + 1));
  }
  {
    Record record(out, 0x0200);
    const bool any = cells.firstRow >= 0;
    U32(out, any ? static_cast<uint32_t>(cells.firstRow) : 0);
    U32(out, any ? static_cast<uint32_t>(cells.lastRow + 1) : 0);
    U16(out, any ? static_cast<uint16_t>(cells.firstColumn) : 0);
    U16(out, any ? static_cast<uint16_t>(cells.lastColumn + 1) : 0);
    U16(out, 0);
  }
  std::string& tail = parts.tail;
  if (sheet.autoFilter) tail += FilterArrowObjects(*sheet.autoFilter);
  {
    std::string& out = tail;
    Record record(out, 0x023E);
    U16(out, 0x06B6);
    U16(out, 0);
    U16(out, 0);
    U32(out, 64);
    U16(out, 0);
    U16(out, 0);
    U32(out, 0);
  }
  for (std::size_t first = 0; first < sheet.merges.size(); first += 1026) {
    const std::size_t count = std::min<std::size_t>(1026, sheet.merges.size() - first);
    Record record(tail, 0x00E5);
    U16(tail, static_cast<uint16_t>(count));
    for (std::size_t i = first; i < first + count; ++i) {
      const CellRect& merge = sheet.merges[i];
      U16(tail, static_cast<uint16_t>(merge.top));
      U16(tail, static_cast<uint16_t>(merge.bottom));
      U16(tail, static_cast<uint16_t>(merge.left));
      U16(tail, static_cast<uint16_t>(merge.right));
    }
  }
  Eof(tail);
  return parts;
}

std::string GlobalsStream(const SheetData& sheet, const StyleTable& styles,
                          const SharedStrings& sst, std::size_t& boundSheetOffsetAt) {
  std::string out;
  Bof(out, 0x0005);
  Simple16(out, 0x00E1, 1200);
  {
    Record record(out, 0x00C1);
    U8(out, 0);
    U8(out, 0);
  }
  { Record record(out, 0x00E2); }
  {
    Record record(out, 0x005C);
    const std::size_t start = out.size();
    const std::string user = "Tavelin";
    U16(out, static_cast<uint16_t>(user.size()));
    U8(out, 0);
    out += user;
    out.append(112 - (out.size() - start), ' ');
  }
  Simple16(out, 0x0042, 1200);
  Simple16(out, 0x0161, 0);
  Simple16(out, 0x013D, 1);
  for (uint16_t id : {0x0019, 0x0012, 0x0013, 0x01AF, 0x01BC}) Simple16(out, id, 0);
  {
    Record record(out, 0x003D);
    U16(out, 0);
    U16(out, 0);
    U16(out, 0x4000);
    U16(out, 0x2000);
    U16(out, 0x0038);
    U16(out, 0);
    U16(out, 0);
    U16(out, 1);
    U16(out, 600);
  }
  Simple16(out, 0x0040, 0);
  Simple16(out, 0x008D, 0);
  Simple16(out, 0x0022, 0);
  Simple16(out, 0x000E, 1);
  Simple16(out, 0x01B7, 0);
  Simple16(out, 0x00DA, 0);
  // Fonts 0 to 3 are the sheet font; index 4 never exists; ours follow.
  std::vector<double> fonts(4, styles.sheetDefault.fontSize);
  std::vector<std::pair<uint16_t, double>> own;
  for (const auto& [size, index] : styles.fonts) {
    if (index >= 5) own.emplace_back(index, size);
  }
  std::sort(own.begin(), own.end());
  for (const auto& [index, size] : own) fonts.push_back(size);
  for (double size : fonts) Font(out, size);
  const CellStyle plain = styles.sheetDefault;
  for (int i = 0; i < 15; ++i) Xf(out, 0, true, plain);
  Xf(out, 0, false, plain);
  for (const CellStyle& style : styles.order) {
    Xf(out, styles.fonts.at(style.fontSize), false, style);
  }
  {
    Record record(out, 0x0293);
    U16(out, 0x8000);
    U8(out, 0);
    U8(out, 0xFF);
  }
  Simple16(out, 0x0160, 1);
  {
    Record record(out, biff::kBoundSheet);
    boundSheetOffsetAt = out.size();
    U32(out, 0);
    U8(out, 0);
    U8(out, 0);
    ShortText(out, "Sheet1");
  }
  {
    Record record(out, 0x008C);
    U16(out, 1);
    U16(out, 1);
  }
  if (sheet.autoFilter) {
    {
      Record record(out, 0x01AE);
      U16(out, 1);
      U16(out, 0x0401);
    }
    {
      Record record(out, 0x0017);
      U16(out, 1);
      U16(out, 0);
      U16(out, 0);
      U16(out, 0);
    }
    Record record(out, 0x0018);
    U16(out, 0x0021);  // hidden, built in
    U8(out, 0);
    U8(out, 1);
    U16(out, 11);
    U16(out, 0);
    U16(out, 1);  // the first sheet
    U32(out, 0);
    U8(out, 0);
    U8(out, 0x0D);  // _FilterDatabase
    U8(out, 0x3B);
    U16(out, 0);
    U16(out, static_cast<uint16_t>(sheet.autoFilter->top));
    U16(out, static_cast<uint16_t>(sheet.autoFilter->bottom));
    U16(out, static_cast<uint16_t>(sheet.autoFilter->left));
    U16(out, static_cast<uint16_t>(sheet.autoFilter->right));
  }
  if (sheet.autoFilter) out += FilterArrowDrawingGroup(*sheet.autoFilter);
  WriteSharedStrings(out, sst);
  Eof(out);
  return out;
}

}  // namespace

bool EncodeRk(double value, uint32_t& rk) {
  constexpr double kLimit = 536870912.0;  // 2^29
  if (value == std::trunc(value) && value >= -kLimit && value < kLimit) {
    rk = (static_cast<uint32_t>(static_cast<int32_t>(value)) << 2) | 2;
    return true;
  }
  const double hundred = std::round(value * 100.0);
  if (hundred >= -kLimit && hundred < kLimit && hundred / 100.0 == value) {
    rk = (static_cast<uint32_t>(static_cast<int32_t>(hundred)) << 2) | 3;
    return true;
  }
  const auto bits = std::bit_cast<uint64_t>(value);
  if ((bits & 0x3FFFFFFFFull) == 0) {
    rk = static_cast<uint32_t>(bits >> 32) & ~3u;
    return true;
  }
  return false;
}

namespace {

// The Workbook stream in the order it is written: globals, sheet head,
// cell records, sheet tail. Only the cell records are large.
struct StreamParts {
  std::string globals;
  SheetParts sheet;
  SheetCells cells;
  std::size_t Size() const {
    return globals.size() + sheet.head.size() + cells.records.size() + sheet.tail.size();
  }
};

// Everything the sheet holds lies inside its 65,536 rows and 256 columns,
// so the cell loops index by column without a test per cell.
void CheckInsideTheSheet(const SheetData& sheet) {
  const auto inside = [](int row, int column) {
    return row >= 0 && row <= 65535 && column >= 0 && column <= 255;
  };
  const auto rectInside = [&](const CellRect& r) {
    return inside(r.top, r.left) && inside(r.bottom, r.right) && r.top <= r.bottom &&
           r.left <= r.right;
  };
  bool fits = true;
  for (const auto& [place, text] : sheet.texts) fits = fits && inside(place.first, place.second);
  for (const auto& block : sheet.blocks) fits = fits && rectInside(block.rect);
  for (const auto& layer : sheet.layers) fits = fits && rectInside(layer.rect);
  for (const auto& merge : sheet.merges) fits = fits && rectInside(merge);
  if (sheet.autoFilter) fits = fits && rectInside(*sheet.autoFilter);
  if (!fits) throw std::out_of_range("a cell outside the sheet's 65536 rows and 256 columns");
}

StreamParts BuildStream(const SheetData& sheet) {
  CheckInsideTheSheet(sheet);
  StyleTable styles(sheet.sheetFontSize);
  SharedStrings sst;
  StreamParts parts;
  parts.cells = BuildCells(sheet, styles, sst);
  std::size_t boundSheetOffsetAt = 0;
  parts.globals = GlobalsStream(sheet, styles, sst, boundSheetOffsetAt);
  PatchU32(parts.globals, boundSheetOffsetAt, static_cast<uint32_t>(parts.globals.size()));
  parts.sheet = SheetStream(sheet, parts.cells);
  return parts;
}

constexpr const char* kStreamName = "Workbook";

}  // namespace

std::string XlsWorkbookStream(const SheetData& sheet) {
  const StreamParts parts = BuildStream(sheet);
  return parts.globals + parts.sheet.head + parts.cells.records + parts.sheet.tail;
}

void WriteXls(const SheetData& sheet, const std::string& path) {
  const StreamParts parts = BuildStream(sheet);
  const CompoundFrame frame = CompoundFrameFor(kStreamName, parts.Size());
  TextStream file = CreateTextFile(path);
  for (const std::string* part : {&frame.header, &parts.globals, &parts.sheet.head,
                                  &parts.cells.records, &parts.sheet.tail, &frame.tail}) {
    file.Write(*part);
  }
  file.Close();
}

}  // namespace tavelin
