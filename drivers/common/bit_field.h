#pragma once
#include <cstdint>

namespace kvr {

// The 16 modules form one stream of 128 bit slots; slot c*8+k is input k of
// the module on channel c. Slots outside 0..127 read as 0 and are never written.
constexpr int kBitSlots = 128;
constexpr int kUsbIoChannels = 16;
constexpr int kMaxFieldLength = 128;

// A field of up to 128 bits, its first bit the most significant.
using FieldBits = unsigned __int128;

struct BitFieldTables {
  const int32_t* HidCh;
  int32_t channels;        // already limited to kUsbIoChannels
  const int32_t* rawData;  // the input byte of each channel
  const int32_t* rawBits;
  const int32_t* startBit;
  const int32_t* dataLength;
  const int32_t* bitReverse;
  const int32_t* bitTurn;
  int32_t* makeData;
  int32_t* makeBits;
  FieldBits* fields = nullptr;  // when given: each live channel's whole processed field
};

// Bit processing of every live channel: the processed stream starts as a copy
// of the raw one, then each channel's field is cut from the raw stream,
// inverted, reversed and written back in rising channel order.
void ProcessBitFields(const BitFieldTables& t);

// Writes the eight input bits of `value` into slots [0, 8) of `slots`.
void ExpandByte(int32_t value, int32_t* slots);

// The number a field of `length` bits stands for: 0 unsigned, 1 sign and
// magnitude, 2 two's complement, 3 count of ones. Other modes read as
// unsigned. Bits above the length are ignored.
double FieldNumber(FieldBits field, int32_t length, int32_t conversion);

// The same for a field read from a bit table, its first slot most significant.
double FieldNumber(const int32_t* bits, int64_t firstSlot, int32_t length, int32_t conversion);

// First slot of channel c's field.
inline int64_t FieldFirstSlot(int channel, int32_t startBit) {
  return int64_t{channel} * 8 + int64_t{startBit} - 1;
}

// Lengths outside 0..128 are cut to that range.
inline int32_t FieldLength(int32_t length) {
  return length < 0 ? 0 : (length > kMaxFieldLength ? kMaxFieldLength : length);
}

}  // namespace kvr
