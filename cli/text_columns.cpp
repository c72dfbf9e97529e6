#include "cli/text_columns.h"

#include <algorithm>

namespace tavelin::cli {

std::size_t Columns(const std::string& text) {
  std::size_t columns = 0;
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    columns += length >= 3 ? 2 : 1;
    i += length;
  }
  return columns;
}

std::string Padded(const std::string& text, std::size_t width) {
  const std::size_t columns = Columns(text);
  return columns >= width ? text : text + std::string(width - columns, ' ');
}

std::string AlignedRows(const std::vector<std::vector<std::string>>& rows,
                        const std::string& indent) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    if (widths.size() < row.size()) widths.resize(row.size(), 0);
    for (std::size_t k = 0; k < row.size(); ++k) widths[k] = std::max(widths[k], Columns(row[k]));
  }
  std::string out;
  for (const auto& row : rows) {
    out += indent;
    for (std::size_t k = 0; k < row.size(); ++k) {
      out += k + 1 < row.size() ? Padded(row[k], widths[k] + 2) : row[k];
    }
    out += "\n";
  }
  return out;
}

}  // namespace tavelin::cli
