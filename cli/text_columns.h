#pragma once
#include <cstddef>
#include <string>

namespace tavelin::cli {

// Terminal columns of UTF-8 text: Japanese characters take two.
std::size_t Columns(const std::string& text);

// The text with blanks after it up to `width` columns.
std::string Padded(const std::string& text, std::size_t width);

}  // namespace tavelin::cli
