#include "platform/utf8.h"

namespace tavelin {
namespace {

bool Continuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

// The range the second byte of a sequence must lie in, by its lead byte;
// the rest of its continuation bytes are 0x80 to 0xBF. Leads outside these
// (0x80 to 0xC1, 0xF5 and above) begin no sequence.
struct Lead {
  int length;
  unsigned char low, high;
};

Lead LeadOf(unsigned char byte) {
  if (byte < 0x80) return {1, 0, 0};
  if (byte >= 0xC2 && byte <= 0xDF) return {2, 0x80, 0xBF};
  if (byte == 0xE0) return {3, 0xA0, 0xBF};  // no overlong forms
  if (byte == 0xED) return {3, 0x80, 0x9F};  // no surrogates
  if (byte >= 0xE1 && byte <= 0xEF) return {3, 0x80, 0xBF};
  if (byte == 0xF0) return {4, 0x90, 0xBF};
  if (byte == 0xF4) return {4, 0x80, 0x8F};  // nothing above U+10FFFF
  if (byte >= 0xF1 && byte <= 0xF3) return {4, 0x80, 0xBF};
  return {0, 0, 0};
}

}  // namespace

char32_t NextCodePoint(std::string_view text, std::size_t& at) {
  const auto lead = static_cast<unsigned char>(text[at++]);
  const Lead form = LeadOf(lead);
  if (form.length == 1) return lead;
  if (form.length == 0) return U'?';
  char32_t point = lead & (0x7F >> form.length);
  for (int k = 1; k < form.length; ++k) {
    if (at >= text.size()) return U'?';
    const auto byte = static_cast<unsigned char>(text[at]);
    const bool fits = k == 1 ? byte >= form.low && byte <= form.high : Continuation(byte);
    if (!fits) return U'?';  // the byte that does not fit starts what follows
    point = (point << 6) | (byte & 0x3F);
    ++at;
  }
  return point;
}

bool IsValidUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    if (NextCodePoint(text, at) == U'?' && text[start] != '?') return false;
  }
  return true;
}

std::string ValidUtf8(std::string_view text) {
  if (IsValidUtf8(text)) return std::string(text);
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    const char32_t point = NextCodePoint(text, at);
    if (point == U'?') {
      out += '?';
    } else {
      out.append(text.substr(start, at - start));
    }
  }
  return out;
}

std::u16string Utf16Of(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    char32_t point = NextCodePoint(text, at);
    if (point >= 0x10000) {
      point -= 0x10000;
      out += static_cast<char16_t>(0xD800 + (point >> 10));
      out += static_cast<char16_t>(0xDC00 + (point & 0x3FF));
    } else {
      out += static_cast<char16_t>(point);
    }
  }
  return out;
}

std::string Utf8Of(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t point = text[i];
    if (point >= 0xD800 && point < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] < 0xE000) {
      point = 0x10000 + ((point - 0xD800) << 10) + (text[++i] - 0xDC00);
    }
    if (point < 0x80) {
      out += static_cast<char>(point);
    } else if (point < 0x800) {
      out += static_cast<char>(0xC0 | point >> 6);
      out += static_cast<char>(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
      out += static_cast<char>(0xE0 | point >> 12);
      out += static_cast<char>(0x80 | (point >> 6 & 0x3F));
      out += static_cast<char>(0x80 | (point & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | point >> 18);
      out += static_cast<char>(0x80 | (point >> 12 & 0x3F));
      out += static_cast<char>(0x80 | (point >> 6 & 0x3F));
      out += static_cast<char>(0x80 | (point & 0x3F));
    }
  }
  return out;
}

std::string FirstCharacters(std::string_view text, std::size_t count) {
  std::size_t at = 0;
  for (std::size_t n = 0; n < count && at < text.size(); ++n) NextCodePoint(text, at);
  return std::string(text.substr(0, at));
}

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::string WithoutControls(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    const char32_t point = NextCodePoint(text, at);
    const bool control = (point < 0x20 && point != U'\t' && point != U'\r' && point != U'\n') ||
                         (point >= 0x7F && point <= 0x9F);
    if (control) {
      out += '?';
    } else {
      out.append(text.substr(start, at - start));
    }
  }
  return out;
}

std::string TrimmedComment(std::string_view text, std::size_t count) {
  return FirstCharacters(WithoutControls(TrimBlanks(text)), count);
}

}  // namespace tavelin
