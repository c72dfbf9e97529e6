// What a board sends us: whatever the bytes, cut wherever the line cuts
// them, the parser hands on only messages within the protocol's ranges,
// and the same messages however the stream was cut.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "common/firmata_protocol.h"

namespace {

using namespace kvr::firmata;

[[noreturn]] void Fail() {
  __builtin_trap();
}

struct Seen {
  Message::Kind kind;
  int index;
  int value;
  std::size_t mappingSize;
  bool operator==(const Seen&) const = default;
};

std::vector<Seen> Parse(std::span<const uint8_t> bytes, std::size_t chunk) {
  Parser parser;
  std::vector<Seen> seen;
  for (std::size_t at = 0; at < bytes.size(); at += chunk) {
    parser.Feed(bytes.subspan(at, std::min(chunk, bytes.size() - at)), [&](const Message& m) {
      if (m.index < 0 || m.index > 15 || m.value < 0 || m.value > 0x3FFF) Fail();
      if (m.mapping.size() > Parser::kLongestSysex) Fail();
      for (const uint8_t channel : m.mapping) {
        if (channel > 0x7F) Fail();
      }
      seen.push_back({m.kind, m.index, m.value, m.mapping.size()});
    });
  }
  return seen;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t chunk = 1 + data[0] % 16;
  const std::span<const uint8_t> bytes(data + 1, size - 1);
  if (Parse(bytes, chunk) != Parse(bytes, bytes.size() + 1)) Fail();
  return 0;
}
