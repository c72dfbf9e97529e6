#include "bit_field.h"

#include <algorithm>
#include <cstring>

namespace kvr {
namespace {

inline bool InStream(int64_t slot) {
  return slot >= 0 && slot < kBitSlots;
}

inline int32_t BitAt(const int32_t* bits, int64_t slot) {
  return InStream(slot) && bits[slot] != 0 ? 1 : 0;
}

// Unsigned value of field bits [from, length), first bit most significant.
double UnsignedValue(const int32_t* bits, int64_t firstSlot, int32_t from, int32_t length,
                     int32_t flip) {
  double value = 0.0;
  for (int32_t i = from; i < length; ++i) value = value * 2.0 + (BitAt(bits, firstSlot + i) ^ flip);
  return value;
}

}  // namespace

void ProcessBitFields(const BitFieldTables& t) {
  std::memcpy(t.makeBits, t.rawBits, sizeof(int32_t) * kBitSlots);
  int32_t field[kMaxFieldLength];
  for (int c = 0; c < t.channels; ++c) {
    if (t.HidCh[c] < 0) continue;
    const int64_t first = FieldFirstSlot(c, t.startBit[c]);
    const int32_t length = FieldLength(t.dataLength[c]);
    const int32_t flip = t.bitTurn[c] == 1 ? 1 : 0;
    for (int32_t i = 0; i < length; ++i) field[i] = BitAt(t.rawBits, first + i) ^ flip;
    if (t.bitReverse[c] == 1) std::reverse(field, field + length);

    std::uint32_t value = 0;  // keeps the low 32 bits of longer fields
    for (int32_t i = 0; i < length; ++i) {
      value = (value << 1) | static_cast<std::uint32_t>(field[i]);
      if (InStream(first + i)) t.makeBits[first + i] = field[i];
    }
    t.makeData[c] = static_cast<int32_t>(value);
  }
}

double FieldNumber(const int32_t* bits, int64_t firstSlot, int32_t length, int32_t conversion) {
  length = FieldLength(length);
  if (length == 0) return 0.0;
  switch (conversion) {
    case 1: {
      const double magnitude = UnsignedValue(bits, firstSlot, 1, length, 0);
      return BitAt(bits, firstSlot) == 1 && magnitude != 0.0 ? -magnitude : magnitude;
    }
    case 2:
      // -(~x + 1) keeps small negatives exact in long fields.
      if (BitAt(bits, firstSlot) == 1) return -(UnsignedValue(bits, firstSlot, 0, length, 1) + 1.0);
      return UnsignedValue(bits, firstSlot, 0, length, 0);
    case 3: {
      int32_t ones = 0;
      for (int32_t i = 0; i < length; ++i) ones += BitAt(bits, firstSlot + i);
      return ones;
    }
    default:
      return UnsignedValue(bits, firstSlot, 0, length, 0);
  }
}

}  // namespace kvr
