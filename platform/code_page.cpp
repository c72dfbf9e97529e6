#include "platform/code_page.h"

#include <iconv.h>

#include <cerrno>
#include <stdexcept>

namespace tavelin {
namespace {

// Length of the UTF-8 sequence that starts with `lead` (1 for a stray byte).
std::size_t SequenceLength(unsigned char lead) {
  if (lead >= 0xF0) return 4;
  if (lead >= 0xE0) return 3;
  if (lead >= 0xC0) return 2;
  return 1;
}

std::size_t Cp932Length(unsigned char lead) {
  return (lead >= 0x81 && lead <= 0x9F) || (lead >= 0xE0 && lead <= 0xFC) ? 2 : 1;
}

// Converts all of `input`; where a character cannot be converted, writes
// "?" and skips the character, as `skip` measures it.
std::string Convert(std::string_view input, const char* to, const char* from,
                    std::size_t (*skip)(unsigned char)) {
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
    const std::size_t length = std::min(inLeft, skip(static_cast<unsigned char>(*in)));
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
  return Convert(utf8, "CP932", "UTF-8", SequenceLength);
}

std::string FromCodePage(std::string_view cp932) {
  if (IsAscii(cp932)) return std::string(cp932);
  return Convert(cp932, "UTF-8", "CP932", Cp932Length);
}

}  // namespace tavelin
