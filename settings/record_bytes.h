#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace tavelin {

// Reads the fields of a settings record: little-endian numbers, and texts
// as a 16-bit byte count followed by CP932 bytes. Past the end of the bytes
// every field reads as zero or empty.
class RecordReader {
 public:
  explicit RecordReader(std::string_view bytes) : bytes_(bytes) {}

  int32_t Long();
  double Double();
  std::array<uint8_t, 8> Block8();
  std::string Text();

 private:
  // Up to n bytes from the current place; fewer where the record ends.
  std::string_view Take(std::size_t n);

  std::string_view bytes_;
  std::size_t at_ = 0;
};

// Writes the fields of a settings record in the same form. A text longer
// than 65,535 bytes is cut there and marks the record as failed.
class RecordWriter {
 public:
  void Long(int32_t value);
  void Double(double value);
  void Block8(const std::array<uint8_t, 8>& block);
  void Text(std::string_view utf8);

  const std::string& Bytes() const { return bytes_; }
  bool Failed() const { return failed_; }

 private:
  std::string bytes_;
  bool failed_ = false;
};

}  // namespace tavelin
