#include "settings/record_bytes.h"

#include <bit>
#include <cstring>

#include "platform/code_page.h"

namespace tavelin {
namespace {

template <typename Unsigned>
Unsigned LittleEndian(std::string_view bytes) {
  Unsigned value = 0;
  for (std::size_t i = 0; i < bytes.size() && i < sizeof(Unsigned); ++i) {
    value |= static_cast<Unsigned>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  }
  return value;
}

template <typename Unsigned>
void PutLittleEndian(std::string& out, Unsigned value) {
  for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
    out += static_cast<char>((value >> (8 * i)) & 0xFF);
  }
}

}  // namespace

std::string_view RecordReader::Take(std::size_t n) {
  const std::size_t start = at_ < bytes_.size() ? at_ : bytes_.size();
  const std::size_t length = std::min(n, bytes_.size() - start);
  at_ += n;
  return bytes_.substr(start, length);
}

int32_t RecordReader::Long() {
  return static_cast<int32_t>(LittleEndian<uint32_t>(Take(4)));
}

double RecordReader::Double() {
  return std::bit_cast<double>(LittleEndian<uint64_t>(Take(8)));
}

std::array<uint8_t, 8> RecordReader::Block8() {
  std::array<uint8_t, 8> block{};
  const std::string_view bytes = Take(8);
  std::memcpy(block.data(), bytes.data(), bytes.size());
  return block;
}

std::string RecordReader::Text() {
  const auto count = LittleEndian<uint16_t>(Take(2));
  return FromCodePage(Take(count));
}

void RecordWriter::Long(int32_t value) {
  PutLittleEndian(bytes_, static_cast<uint32_t>(value));
}

void RecordWriter::Double(double value) {
  PutLittleEndian(bytes_, std::bit_cast<uint64_t>(value));
}

void RecordWriter::Block8(const std::array<uint8_t, 8>& block) {
  bytes_.append(reinterpret_cast<const char*>(block.data()), block.size());
}

void RecordWriter::Text(std::string_view utf8) {
  std::string text = ToCodePage(utf8);
  if (text.size() > UINT16_MAX) {
    text.resize(UINT16_MAX);
    failed_ = true;
  }
  PutLittleEndian(bytes_, static_cast<uint16_t>(text.size()));
  bytes_ += text;
}

}  // namespace tavelin
