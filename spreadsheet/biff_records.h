#pragma once
#include <cstdint>

namespace tavelin::biff {

// The BIFF8 records both the workbook writer and its reader know by number.
inline constexpr uint16_t kBof = 0x0809;
inline constexpr uint16_t kEof = 0x000A;
inline constexpr uint16_t kBoundSheet = 0x0085;
inline constexpr uint16_t kSst = 0x00FC;
inline constexpr uint16_t kContinue = 0x003C;
inline constexpr uint16_t kRk = 0x027E;
inline constexpr uint16_t kMulRk = 0x00BD;
inline constexpr uint16_t kNumber = 0x0203;
inline constexpr uint16_t kLabelSst = 0x00FD;

}  // namespace tavelin::biff
