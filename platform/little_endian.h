#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tavelin::le {

// Little-endian fields appended to, or patched into, a byte string: the
// byte order of the workbook files and of the run journal.
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

}  // namespace tavelin::le
