// The checksum of the journal's records: CRC-32C, whatever the length and
// wherever a buffer is cut.
#include "platform/crc32c.h"

#include <gtest/gtest.h>

namespace tavelin {
namespace {

TEST(Crc32c, GivesTheCheckValuesAndContinuesAcrossCuts) {
  EXPECT_EQ(Crc32c(""), 0u);
  EXPECT_EQ(Crc32c("123456789"), 0xE3069283u);
  EXPECT_EQ(Crc32c(std::string(32, '\0')), 0x8A9136AAu);  // RFC 3720's test pattern
  const std::string text = "The quick brown fox jumps over the lazy dog";
  const uint32_t whole = Crc32c(text);
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    EXPECT_EQ(Crc32c(text.substr(cut), Crc32c(text.substr(0, cut))), whole) << cut;
  }
}

}  // namespace
}  // namespace tavelin
