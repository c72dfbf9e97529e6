#pragma once
#include <string>
#include <string_view>

namespace tavelin {

// Text inside the program is UTF-8; files hold CP932 (Shift-JIS as the
// Japanese systems have it). A character CP932 lacks becomes "?", and so
// does an invalid UTF-8 sequence; the text after it is kept.
std::string ToCodePage(std::string_view utf8);
// Bytes CP932 does not define become "?"; the bytes after them are kept.
std::string FromCodePage(std::string_view cp932);

}  // namespace tavelin
