#include "spreadsheet/xls_reader.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

#include "platform/little_endian.h"
#include "platform/utf8.h"
#include "spreadsheet/biff_records.h"
#include "spreadsheet/compound_stream.h"

namespace tavelin {
namespace {

using namespace biff;
using le::U16At;
using le::U32At;

double RkValue(uint32_t rk) {
  const double value = (rk & 2) != 0 ? static_cast<double>(static_cast<int32_t>(rk) >> 2)
                                     : std::bit_cast<double>(uint64_t{rk & 0xFFFFFFFCu} << 32);
  return (rk & 1) != 0 ? value / 100 : value;
}

struct Record {
  uint16_t id;
  std::string_view data;
};

// The records from `at` to the substream's EOF; false when one runs past
// the stream.
template <typename Each>
bool Records(std::string_view stream, std::size_t at, Each&& each) {
  while (at + 4 <= stream.size()) {
    const uint16_t id = U16At(stream.data() + at);
    const uint16_t length = U16At(stream.data() + at + 2);
    if (at + 4 + length > stream.size()) return false;
    if (id == kEof) return true;
    each(Record{id, stream.substr(at + 4, length)});
    at += 4 + std::size_t{length};
  }
  return false;
}

// The shared strings: the SST record's data and its CONTINUE records', read
// across their bounds; characters that go on in the next record start it
// with a flags byte of their own.
class SharedStrings {
 public:
  explicit SharedStrings(std::vector<std::string_view> parts) : parts_(std::move(parts)) {}

  bool Read(std::vector<std::string>& strings) {
    if (!Skip(4)) return false;  // the references
    uint32_t count = 0;
    if (!Field(count, 4)) return false;
    for (uint32_t i = 0; i < count; ++i) {
      uint32_t characters = 0, flags = 0, runs = 0, extended = 0;
      if (!Field(characters, 2) || !Field(flags, 1)) return false;
      if ((flags & 0x08) != 0 && !Field(runs, 2)) return false;
      if ((flags & 0x04) != 0 && !Field(extended, 4)) return false;
      std::u16string text;
      bool wide = (flags & 0x01) != 0;
      while (text.size() < characters) {
        if (at_ == Part().size()) {  // the characters go on in the next record
          if (!Next()) return false;
          uint32_t again = 0;
          if (!Field(again, 1)) return false;
          wide = (again & 0x01) != 0;
        }
        const std::size_t size = wide ? 2 : 1;
        const std::size_t fit =
            std::min<std::size_t>(characters - text.size(), (Part().size() - at_) / size);
        if (fit == 0) return false;
        for (std::size_t k = 0; k < fit; ++k, at_ += size) {
          const char* p = Part().data() + at_;
          text += wide ? static_cast<char16_t>(U16At(p))
                       : static_cast<char16_t>(static_cast<uint8_t>(*p));
        }
      }
      if (!Skip(4 * std::size_t{runs} + extended)) return false;
      strings.push_back(Utf8Of(text));
    }
    return true;
  }

 private:
  std::string_view Part() const { return parts_[part_]; }
  bool Next() {
    if (part_ + 1 >= parts_.size()) return false;
    ++part_;
    at_ = 0;
    return true;
  }
  // A little-endian field of `bytes`, which never spans two records.
  bool Field(uint32_t& value, std::size_t bytes) {
    if (at_ == Part().size() && !Next()) return false;
    if (at_ + bytes > Part().size()) return false;
    value = 0;
    for (std::size_t i = 0; i < bytes; ++i)
      value |= static_cast<uint32_t>(static_cast<uint8_t>(Part()[at_ + i])) << (8 * i);
    at_ += bytes;
    return true;
  }
  bool Skip(std::size_t bytes) {
    while (bytes > 0) {
      if (at_ == Part().size() && !Next()) return false;
      const std::size_t step = std::min(bytes, Part().size() - at_);
      at_ += step;
      bytes -= step;
    }
    return true;
  }
  std::vector<std::string_view> parts_;
  std::size_t part_ = 0;
  std::size_t at_ = 0;
};

}  // namespace

bool ReadFirstSheet(std::string_view file, SheetCellVisitor& visitor) {
  std::string storage;
  const auto found = ReadCompoundStream(file, "Workbook", storage);
  if (!found) return false;
  const std::string_view stream = *found;
  if (stream.size() < 8 || U16At(stream.data()) != kBof || U16At(stream.data() + 4) != 0x0600)
    return false;  // not BIFF8
  // The globals: the shared strings and where the first sheet starts.
  std::vector<std::string_view> sst;
  bool inSst = false;
  std::size_t sheetAt = 0;
  if (!Records(stream, U16At(stream.data() + 2) + 4, [&](const Record& r) {
        if (r.id == kSst) sst = {r.data};
        if (r.id == kContinue && inSst) sst.push_back(r.data);
        inSst = r.id == kSst || (r.id == kContinue && inSst);
        if (r.id == kBoundSheet && sheetAt == 0 && r.data.size() >= 4)
          sheetAt = U32At(r.data.data());
      })) {
    return false;
  }
  std::vector<std::string> strings;
  if (!sst.empty() && !SharedStrings(std::move(sst)).Read(strings)) return false;
  if (sheetAt == 0 || sheetAt + 4 > stream.size() || U16At(stream.data() + sheetAt) != kBof)
    return false;
  bool good = true;
  const bool whole =
      Records(stream, sheetAt + 4 + U16At(stream.data() + sheetAt + 2), [&](const Record& r) {
        const char* p = r.data.data();
        const std::size_t n = r.data.size();
        switch (r.id) {
          case kRk:
            if (n >= 10) visitor.Number(U16At(p), U16At(p + 2), RkValue(U32At(p + 6)));
            break;
          case kMulRk:
            if (n >= 6) {
              const unsigned row = U16At(p);
              unsigned column = U16At(p + 2);
              for (std::size_t at = 4; at + 6 <= n - 2; at += 6, ++column)
                visitor.Number(row, column, RkValue(U32At(p + at + 2)));
            }
            break;
          case kNumber:
            if (n >= 14)
              visitor.Number(
                  U16At(p), U16At(p + 2),
                  std::bit_cast<double>(uint64_t{U32At(p + 6)} | uint64_t{U32At(p + 10)} << 32));
            break;
          case kLabelSst:
            if (n >= 10) {
              const uint32_t index = U32At(p + 6);
              if (index < strings.size()) {
                visitor.Text(U16At(p), U16At(p + 2), strings[index]);
              } else {
                good = false;
              }
            }
            break;
          default:
            break;
        }
      });
  return whole && good;
}

}  // namespace tavelin
