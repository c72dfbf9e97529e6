#include "bit_field.h"

#include <array>
#include <bit>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kvr {
namespace {

using Bits = FieldBits;

inline bool InStream(int64_t slot) {
  return slot >= 0 && slot < kBitSlots;
}

inline Bits LowMask(int32_t length) {
  return length >= 128 ? ~Bits{0} : (Bits{1} << length) - 1;
}

inline std::uint64_t Reverse64(std::uint64_t x) {
  x = ((x >> 1) & 0x5555555555555555ull) | ((x & 0x5555555555555555ull) << 1);
  x = ((x >> 2) & 0x3333333333333333ull) | ((x & 0x3333333333333333ull) << 2);
  x = ((x >> 4) & 0x0F0F0F0F0F0F0F0Full) | ((x & 0x0F0F0F0F0F0F0F0Full) << 4);
  return __builtin_bswap64(x);
}

constexpr std::array<std::uint8_t, 256> MakeByteReversals() {
  std::array<std::uint8_t, 256> table{};
  for (int value = 0; value < 256; ++value) {
    for (int k = 0; k < 8; ++k)
      table[value] |= static_cast<std::uint8_t>(((value >> k) & 1) << (7 - k));
  }
  return table;
}
constexpr std::array<std::uint8_t, 256> kByteReversals = MakeByteReversals();

// The low `length` bits of x in the opposite order.
inline Bits ReverseLow(Bits x, int32_t length) {
  if (length == 0) return 0;
  if (length <= 8) return kByteReversals[static_cast<std::uint8_t>(x)] >> (8 - length);
  if (length <= 64) return Reverse64(static_cast<std::uint64_t>(x)) >> (64 - length);
  const Bits reversed = (Bits{Reverse64(static_cast<std::uint64_t>(x))} << 64) |
                        Reverse64(static_cast<std::uint64_t>(x >> 64));
  return reversed >> (128 - length);
}

// Stream bit `first + i` as bit i; bits outside the stream read 0.
inline Bits FieldFromStream(Bits stream, int64_t first, int32_t length) {
  Bits field = 0;
  if (first >= 0) {
    if (first < kBitSlots) field = stream >> first;
  } else if (first > -kBitSlots) {
    field = stream << -first;
  }
  return field & LowMask(length);
}

using Slots8 = std::array<int32_t, 8>;

constexpr std::array<Slots8, 256> MakeExpansions() {
  std::array<Slots8, 256> table{};
  for (int value = 0; value < 256; ++value) {
    for (int k = 0; k < 8; ++k) table[value][k] = (value >> k) & 1;
  }
  return table;
}
constexpr std::array<Slots8, 256> kExpansions = MakeExpansions();

#if defined(__SSE2__)
// Bit i set where slot i of the eight is not 0.
inline std::uint64_t EightSlots(const int32_t* slots) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i low =
      _mm_cmpeq_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(slots)), zero);
  const __m128i high =
      _mm_cmpeq_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(slots + 4)), zero);
  const __m128i words = _mm_packs_epi32(low, high);
  return ~static_cast<std::uint64_t>(_mm_movemask_epi8(_mm_packs_epi16(words, words))) & 0xFF;
}
#endif

// A field read from a bit table with its first bit as the most significant.
Bits FieldMsbFirst(const int32_t* bits, int64_t first, int32_t length) {
#if defined(__SSE2__)
  const int32_t whole = (length + 7) / 8 * 8;
  if (length <= 64 && first >= 0 && first + whole <= kBitSlots) {
    std::uint64_t slotOrder = 0;
    for (int32_t i = 0; i < whole; i += 8) slotOrder |= EightSlots(bits + first + i) << i;
    return ReverseLow(slotOrder & static_cast<std::uint64_t>(LowMask(length)), length);
  }
#endif
  if (length <= 64 && first >= 0 && first + length <= kBitSlots) {
    std::uint64_t value = 0;  // no chain from bit to bit: the reads overlap
    for (int32_t i = 0; i < length; ++i) {
      value |= std::uint64_t{bits[first + i] != 0} << (length - 1 - i);
    }
    return value;
  }
  Bits value = 0;
  for (int32_t i = 0; i < length; ++i) {
    const int64_t slot = first + i;
    value = (value << 1) | Bits{InStream(slot) && bits[slot] != 0};
  }
  return value;
}

inline double ToDouble(Bits value) {
  return static_cast<double>(value);
}

}  // namespace

void ExpandByte(int32_t value, int32_t* slots) {
  std::memcpy(slots, kExpansions[value & 0xFF].data(), sizeof(Slots8));
}

void ProcessBitFields(const BitFieldTables& t) {
  // The processed stream starts as the raw one, which is each byte's bits.
  std::memcpy(t.makeBits + 8 * t.channels, t.rawBits + 8 * t.channels,
              sizeof(int32_t) * (kBitSlots - 8 * t.channels));
  Bits stream = 0;
  for (int c = 0; c < t.channels; ++c) {
    ExpandByte(t.rawData[c], t.makeBits + 8 * c);
    stream |= Bits{static_cast<std::uint8_t>(t.rawData[c])} << (8 * c);
  }
  Bits rewritten = 0;  // slots that hold a processed field, not the raw stream
  for (int c = 0; c < t.channels; ++c) {
    if (t.HidCh[c] < 0) continue;
    const int64_t first = FieldFirstSlot(c, t.startBit[c]);
    const int32_t length = FieldLength(t.dataLength[c]);
    const bool turn = t.bitTurn[c] == 1;
    const bool reverse = t.bitReverse[c] == 1;
    Bits field = FieldFromStream(stream, first, length);  // slot order
    if (turn) field ^= LowMask(length);
    if (reverse) field = ReverseLow(field, length);
    // First bit most significant, kept to its low 32 bits.
    const Bits msbFirst = ReverseLow(field, length);
    t.makeData[c] = static_cast<int32_t>(static_cast<std::uint32_t>(msbFirst));
    if (t.fields != nullptr) t.fields[c] = msbFirst;

    const Bits inStream = first >= 0 ? (first < kBitSlots ? LowMask(length) << first : 0)
                                     : (first > -kBitSlots ? LowMask(length) >> -first : 0);
    // A field left as it came already stands in the copy of the raw stream.
    if (!turn && !reverse && (rewritten & inStream) == 0) continue;
    rewritten |= inStream;
    const int64_t from = first < 0 ? -first : 0;
    const int64_t to = first + length > kBitSlots ? kBitSlots - first : length;
    Bits rest = from < to ? field >> from : 0;
    for (int64_t i = from; i < to; ++i, rest >>= 1) {
      t.makeBits[first + i] = static_cast<int32_t>(static_cast<std::uint64_t>(rest) & 1);
    }
  }
}

double FieldNumber(const int32_t* bits, int64_t firstSlot, int32_t length, int32_t conversion) {
  length = FieldLength(length);
  if (length == 0) return 0.0;
  return FieldNumber(FieldMsbFirst(bits, firstSlot, length), length, conversion);
}

double FieldNumber(FieldBits field, int32_t length, int32_t conversion) {
  length = FieldLength(length);
  if (length == 0) return 0.0;
  const Bits value = field & LowMask(length);
  const bool signBit = ((value >> (length - 1)) & 1) != 0;
  switch (conversion) {
    case 1: {
      const double magnitude = ToDouble(value & LowMask(length - 1));
      return signBit && magnitude != 0.0 ? -magnitude : magnitude;
    }
    case 2:
      // -(~x + 1) keeps small negatives exact in long fields.
      return signBit ? -(ToDouble(~value & LowMask(length)) + 1.0) : ToDouble(value);
    case 3:
      return std::popcount(static_cast<std::uint64_t>(value)) +
             std::popcount(static_cast<std::uint64_t>(value >> 64));
    default:
      return ToDouble(value);
  }
}

}  // namespace kvr
