#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace tavelin::le {

// Little-endian fields appended to, patched into or read from a byte
// string: the byte order of the workbook files, the run journal and the
// settings kept aside.
inline void U8(std::string& out, uint8_t v) {
  out += static_cast<char>(v);
}
inline void U16(std::string& out, uint16_t v) {
  const char bytes[2] = {static_cast<char>(v), static_cast<char>(v >> 8)};
  out.append(bytes, 2);
}
inline void U32(std::string& out, uint32_t v) {
  const char bytes[4] = {static_cast<char>(v), static_cast<char>(v >> 8),
                         static_cast<char>(v >> 16), static_cast<char>(v >> 24)};
  out.append(bytes, 4);
}
inline void U64(std::string& out, uint64_t v) {
  U32(out, static_cast<uint32_t>(v));
  U32(out, static_cast<uint32_t>(v >> 32));
}
// A u32 byte count, then the bytes.
inline void Text(std::string& out, std::string_view text) {
  U32(out, static_cast<uint32_t>(text.size()));
  out.append(text);
}
inline void F64(std::string& out, double v) {
  U64(out, std::bit_cast<uint64_t>(v));
}
inline void PatchU16(std::string& out, std::size_t at, uint16_t v) {
  out[at] = static_cast<char>(v);
  out[at + 1] = static_cast<char>(v >> 8);
}
inline void PatchU32(std::string& out, std::size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) out[at + i] = static_cast<char>(v >> (8 * i));
}

// A field at `p` whose bytes the caller knows are there.
inline uint16_t U16At(const char* p) {
  return static_cast<uint16_t>(static_cast<uint8_t>(p[0]) | static_cast<uint8_t>(p[1]) << 8);
}
inline uint32_t U32At(const char* p) {
  return static_cast<uint32_t>(U16At(p)) | static_cast<uint32_t>(U16At(p + 2)) << 16;
}

// Reads fields from a span of bytes; past its end every read fails.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}
  std::size_t Left() const { return bytes_.size() - at_; }
  std::size_t At() const { return at_; }
  bool Fits(std::size_t n) const { return Left() >= n; }

  std::optional<std::string_view> Take(std::size_t n) {
    if (!Fits(n)) return std::nullopt;
    const std::string_view taken = bytes_.substr(at_, n);
    at_ += n;
    return taken;
  }
  template <typename T>
  std::optional<T> Number() {
    const auto bytes = Take(sizeof(T));
    if (!bytes) return std::nullopt;
    std::make_unsigned_t<std::conditional_t<std::is_floating_point_v<T>, int64_t, T>> value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      value |= static_cast<decltype(value)>(static_cast<uint8_t>((*bytes)[i])) << (8 * i);
    }
    if constexpr (std::is_floating_point_v<T>) {
      return std::bit_cast<double>(value);
    } else {
      return static_cast<T>(value);
    }
  }
  // A u32 byte count and its bytes, the count at most `longest`.
  std::optional<std::string> Text(std::size_t longest) {
    const auto length = Number<uint32_t>();
    if (!length || *length > longest) return std::nullopt;
    const auto bytes = Take(*length);
    if (!bytes) return std::nullopt;
    return std::string(*bytes);
  }

 private:
  std::string_view bytes_;
  std::size_t at_ = 0;
};

}  // namespace tavelin::le
