#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace tavelin {

// Text inside the program is UTF-8. Text from outside is checked once, at
// the edge (IsValidUtf8); the conversions to the files' encodings are
// robust on their own: an invalid sequence becomes "?" and the text after
// it is kept.

bool IsValidUtf8(std::string_view text);

// The code point of the sequence at `at`, which moves past it. An invalid
// sequence gives '?' and moves past its longest valid beginning (at least
// one byte), never into the character after it.
char32_t NextCodePoint(std::string_view text, std::size_t& at);

// The text with every invalid sequence replaced by "?".
std::string ValidUtf8(std::string_view text);

// UTF-16 code units, as the workbook's strings hold them.
std::u16string Utf16Of(std::string_view text);

// UTF-16 as UTF-8: surrogate pairs joined, a lone surrogate kept as its
// own three bytes.
std::string Utf8Of(std::u16string_view text);

// The first `count` characters (code points, not bytes).
std::string FirstCharacters(std::string_view text, std::size_t count);

// The text without blanks (U+0020) at either end.
std::string_view TrimBlanks(std::string_view text);

// The text with every control character but tab, carriage return and line
// feed replaced by "?": an escape or a bell in a comment would otherwise
// reach folder names and the terminal.
std::string WithoutControls(std::string_view text);

// A comment as the settings take it from a box: blanks cut at both ends,
// control characters replaced, then its first `count` characters.
std::string TrimmedComment(std::string_view text, std::size_t count);

}  // namespace tavelin
