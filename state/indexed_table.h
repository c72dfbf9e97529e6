#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace tavelin {

// A fixed table behind an indexed property: table(i) gets and sets entry i.
// The index is a signed 16-bit number; one outside the table throws instead
// of touching memory. data() is entry 0, as the device libraries take it.
template <typename T, std::size_t N>
class IndexedTable {
 public:
  static constexpr int32_t kUpper = static_cast<int32_t>(N) - 1;

  T& operator()(int16_t index) { return values_[Checked(index)]; }
  const T& operator()(int16_t index) const { return values_[Checked(index)]; }

  T* data() { return values_.data(); }
  const T* data() const { return values_.data(); }

 private:
  static std::size_t Checked(int32_t index) {
    if (index < 0 || index > kUpper) {
      throw std::out_of_range("index " + std::to_string(index) + " outside 0.." +
                              std::to_string(kUpper));
    }
    return static_cast<std::size_t>(index);
  }

  std::array<T, N> values_{};
};

// An index given as a 32-bit number; one that does not fit 16 bits throws.
inline int16_t TableIndex(int32_t index) {
  if (index < INT16_MIN || index > INT16_MAX) {
    throw std::out_of_range("index " + std::to_string(index) + " is not a 16-bit number");
  }
  return static_cast<int16_t>(index);
}

// Sets entries 0 to upper inclusive; a negative upper sets nothing.
template <typename Table, typename Value>
void FillTable(Table& table, int32_t upper, const Value& value) {
  for (int32_t i = 0; i <= upper; ++i) table(TableIndex(i)) = value;
}

}  // namespace tavelin
