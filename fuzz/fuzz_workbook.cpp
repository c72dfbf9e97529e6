// A workbook handed to the trend: whatever its bytes, our reader walks its
// sectors and records without reading outside them or looping (the
// sanitizers watch every read).
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "spreadsheet/xls_reader.h"

namespace {

struct Cells final : tavelin::SheetCellVisitor {
  std::size_t seen = 0;
  void Number(unsigned, unsigned, double) override { ++seen; }
  void Text(unsigned, unsigned, const std::string& text) override { seen += text.size(); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  Cells cells;
  tavelin::ReadFirstSheet(std::string_view(reinterpret_cast<const char*>(data), size), cells);
  return 0;
}
