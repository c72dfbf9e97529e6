#pragma once
#include <cstdint>
#include <string_view>

namespace tavelin {

// CRC-32C (Castagnoli, as in iSCSI and ext4) of `bytes`, continuing from
// `crc`. The processor's own instruction where it has one: the journal
// checks every row it keeps.
uint32_t Crc32c(std::string_view bytes, uint32_t crc = 0);

}  // namespace tavelin
