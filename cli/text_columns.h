#pragma once
#include <cstddef>
#include <string>
#include <vector>

namespace tavelin::cli {

// Terminal columns of UTF-8 text: Japanese characters take two.
std::size_t Columns(const std::string& text);

// The text with blanks after it up to `width` columns.
std::string Padded(const std::string& text, std::size_t width);

// Rows of cells as lines, each column as wide as its widest cell (the last
// one as it is), two blanks apart, every line after `indent`.
std::string AlignedRows(const std::vector<std::vector<std::string>>& rows,
                        const std::string& indent);

}  // namespace tavelin::cli
