#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tavelin::compound {

// The compound file's fixed values, as our writer lays them out and our
// reader expects them.
inline constexpr std::string_view kMagic{"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8};
inline constexpr uint32_t kFreeSect = 0xFFFFFFFF;
inline constexpr uint32_t kEndOfChain = 0xFFFFFFFE;
inline constexpr uint32_t kFatSect = 0xFFFFFFFD;
inline constexpr uint32_t kDifSect = 0xFFFFFFFC;
inline constexpr std::size_t kHeaderFatSectors = 109;  // FAT sectors named in the header
// Streams shorter than this live in the mini stream.
inline constexpr std::size_t kMiniStreamCutoff = 4096;
inline constexpr std::size_t kEntryBytes = 128;  // a directory entry

}  // namespace tavelin::compound
