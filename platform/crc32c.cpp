#include "platform/crc32c.h"

#include <array>
#include <cstring>

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <nmmintrin.h>
#define TAVELIN_CRC32C_INSTRUCTION 1
#endif

namespace tavelin {
namespace {

constexpr uint32_t kPolynomial = 0x82F63B78u;  // reflected

// Eight tables, to take eight bytes a step where there is no instruction.
using Tables = std::array<std::array<uint32_t, 256>, 8>;

constexpr Tables MakeTables() {
  Tables tables{};
  for (uint32_t n = 0; n < 256; ++n) {
    uint32_t c = n;
    for (int k = 0; k < 8; ++k) c = c & 1 ? kPolynomial ^ (c >> 1) : c >> 1;
    tables[0][n] = c;
  }
  for (uint32_t n = 0; n < 256; ++n) {
    for (std::size_t t = 1; t < 8; ++t) {
      tables[t][n] = (tables[t - 1][n] >> 8) ^ tables[0][tables[t - 1][n] & 0xFF];
    }
  }
  return tables;
}
constexpr Tables kTables = MakeTables();

uint32_t LittleEndian32(const char* bytes) {
  uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = (value << 8) | static_cast<uint8_t>(bytes[i]);
  return value;
}

uint32_t BySoftware(const char* p, std::size_t left, uint32_t crc) {
  for (; left >= 8; p += 8, left -= 8) {
    const uint32_t low = LittleEndian32(p) ^ crc;
    const uint32_t high = LittleEndian32(p + 4);
    crc = kTables[7][low & 0xFF] ^ kTables[6][(low >> 8) & 0xFF] ^ kTables[5][(low >> 16) & 0xFF] ^
          kTables[4][low >> 24] ^ kTables[3][high & 0xFF] ^ kTables[2][(high >> 8) & 0xFF] ^
          kTables[1][(high >> 16) & 0xFF] ^ kTables[0][high >> 24];
  }
  for (; left > 0; ++p, --left) {
    crc = kTables[0][(crc ^ static_cast<uint8_t>(*p)) & 0xFF] ^ (crc >> 8);
  }
  return crc;
}

#ifdef TAVELIN_CRC32C_INSTRUCTION
__attribute__((target("sse4.2"))) uint32_t ByInstruction(const char* p, std::size_t left,
                                                         uint32_t crc) {
  uint64_t wide = crc;
  for (; left >= 8; p += 8, left -= 8) {
    uint64_t word;
    std::memcpy(&word, p, 8);  // x86 is little-endian, as the checksum reads
    wide = _mm_crc32_u64(wide, word);
  }
  crc = static_cast<uint32_t>(wide);
  for (; left > 0; ++p, --left) crc = _mm_crc32_u8(crc, static_cast<uint8_t>(*p));
  return crc;
}

const bool kHasInstruction = __builtin_cpu_supports("sse4.2");
#endif

}  // namespace

uint32_t Crc32c(std::string_view bytes, uint32_t crc) {
  crc = ~crc;
#ifdef TAVELIN_CRC32C_INSTRUCTION
  if (kHasInstruction) return ~ByInstruction(bytes.data(), bytes.size(), crc);
#endif
  return ~BySoftware(bytes.data(), bytes.size(), crc);
}

}  // namespace tavelin
