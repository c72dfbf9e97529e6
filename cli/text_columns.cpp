#include "cli/text_columns.h"

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

}  // namespace tavelin::cli
