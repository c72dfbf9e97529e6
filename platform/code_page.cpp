#include "platform/code_page.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>

#include "platform/utf8.h"

namespace tavelin {
namespace {

// Bytes of the character that starts at `at`: input is valid UTF-8 here.
std::size_t Utf8Length(const char* at, std::size_t left) {
  std::size_t position = 0;
  NextCodePoint(std::string_view(at, left), position);
  return position;
}

// Bytes of the CP932 character that starts at `at`: a lead byte counts
// with the byte after it only where that byte can follow a lead, so a
// broken lead never takes the line end with it.
std::size_t Cp932Length(const char* at, std::size_t left) {
  const auto lead = static_cast<unsigned char>(at[0]);
  const bool isLead = (lead >= 0x81 && lead <= 0x9F) || (lead >= 0xE0 && lead <= 0xFC);
  if (!isLead || left < 2) return 1;
  const auto trail = static_cast<unsigned char>(at[1]);
  return (trail >= 0x40 && trail <= 0x7E) || (trail >= 0x80 && trail <= 0xFC) ? 2 : 1;
}

// Converts all of `input`; where a character cannot be converted, writes
// "?" and skips the character, as `skip` measures it.
std::string Convert(std::string_view input, const char* to, const char* from,
                    std::size_t (*skip)(const char*, std::size_t)) {
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) {
    throw std::runtime_error(std::string("no conversion from ") + from + " to " + to);
  }
  std::string out;
  out.reserve(input.size() * 2);
  char* in = const_cast<char*>(input.data());
  std::size_t inLeft = input.size();
  char buffer[4096];
  while (inLeft > 0) {
    char* at = buffer;
    std::size_t room = sizeof buffer;
    const std::size_t done = iconv(cd, &in, &inLeft, &at, &room);
    out.append(buffer, static_cast<std::size_t>(at - buffer));
    if (done != static_cast<std::size_t>(-1)) break;
    if (errno == E2BIG) continue;
    // EILSEQ or EINVAL: one character that cannot be carried.
    out += '?';
    const std::size_t length = std::min(inLeft, skip(in, inLeft));
    in += length;
    inLeft -= length;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
  }
  iconv_close(cd);
  return out;
}

bool IsAscii(std::string_view text) {
  for (char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}

}  // namespace

std::string ToCodePage(std::string_view utf8) {
  if (IsAscii(utf8)) return std::string(utf8);
  return Convert(ValidUtf8(utf8), "CP932", "UTF-8", Utf8Length);
}

std::string FromCodePage(std::string_view cp932) {
  if (IsAscii(cp932)) return std::string(cp932);
  return Convert(cp932, "UTF-8", "CP932", Cp932Length);
}

}  // namespace tavelin
