#include "platform/crc32.h"

#include <array>

namespace tavelin {
namespace {

constexpr std::array<uint32_t, 256> MakeTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t n = 0; n < 256; ++n) {
    uint32_t c = n;
    for (int k = 0; k < 8; ++k) c = c & 1 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    table[n] = c;
  }
  return table;
}
constexpr std::array<uint32_t, 256> kTable = MakeTable();

}  // namespace

uint32_t Crc32(std::string_view bytes, uint32_t crc) {
  crc = ~crc;
  for (const char byte : bytes)
    crc = kTable[(crc ^ static_cast<uint8_t>(byte)) & 0xFF] ^ (crc >> 8);
  return ~crc;
}

}  // namespace tavelin
