#pragma once
#include <cstdint>
#include <string_view>

namespace tavelin {

// CRC-32 (the polynomial of zip and PNG) of `bytes`, continuing from `crc`.
uint32_t Crc32(std::string_view bytes, uint32_t crc = 0);

}  // namespace tavelin
