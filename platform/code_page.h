#pragma once
#include <string>
#include <string_view>

namespace tavelin {

// Text inside the program is UTF-8; files hold CP932 (Shift-JIS as the
// Japanese systems have it). A character CP932 lacks becomes "?".
std::string ToCodePage(std::string_view utf8);
// Bytes CP932 does not define become "?".
std::string FromCodePage(std::string_view cp932);

}  // namespace tavelin
