// The Firmata stream as a board sends it, whole and cut at any byte.
#include "common/firmata_protocol.h"

#include <gtest/gtest.h>

#include <vector>

namespace kvr::firmata {
namespace {

std::vector<Message> Messages(Parser& parser, const std::vector<uint8_t>& bytes,
                              std::vector<std::vector<uint8_t>>* mappings = nullptr) {
  std::vector<Message> messages;
  parser.Feed(bytes, [&](const Message& m) {
    messages.push_back(m);
    if (mappings != nullptr) mappings->emplace_back(m.mapping.begin(), m.mapping.end());
  });
  return messages;
}

TEST(FirmataParser, ReadsTheBoardsMessagesWhereverTheStreamIsCut) {
  const std::vector<uint8_t> stream = {0xF9, 2,    5,                         // version 2.5
                                       0xF0, 0x79, 2,    5,    'U', 0, 0xF7,  // firmware
                                       0x91, 0x7F, 0x01,                      // port 1: 0xFF
                                       0xE5, 0x7F, 0x07,                      // analog 5: 1023
                                       0xF0, 0x6A, 0x7F, 0x7F, 0,   1, 0xF7,  // mapping
                                       0xE0, 0x10,                            // cut by a reset:
                                       0xF9, 2,    5};
  for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
    Parser parser;
    std::vector<std::vector<uint8_t>> mappings;
    auto messages =
        Messages(parser, std::vector<uint8_t>(stream.begin(), stream.begin() + cut), &mappings);
    const auto rest =
        Messages(parser, std::vector<uint8_t>(stream.begin() + cut, stream.end()), &mappings);
    messages.insert(messages.end(), rest.begin(), rest.end());
    ASSERT_EQ(messages.size(), 6u) << "cut at " << cut;
    EXPECT_EQ(messages[0].kind, Message::Kind::Version);
    EXPECT_EQ(messages[0].value, 2 * 128 + 5);
    EXPECT_EQ(messages[1].kind, Message::Kind::Version);
    EXPECT_EQ(messages[2].kind, Message::Kind::Digital);
    EXPECT_EQ(messages[2].index, 1);
    EXPECT_EQ(messages[2].value, 0xFF);
    EXPECT_EQ(messages[3].kind, Message::Kind::Analog);
    EXPECT_EQ(messages[3].index, 5);
    EXPECT_EQ(messages[3].value, 1023);
    EXPECT_EQ(messages[4].kind, Message::Kind::AnalogMapping);
    EXPECT_EQ(mappings[4], (std::vector<uint8_t>{0x7F, 0x7F, 0, 1}));
    EXPECT_EQ(messages[5].kind, Message::Kind::Version) << "the cut analog message is dropped";
  }
}

TEST(FirmataParser, SkipsWhatIsNotAMessage) {
  Parser parser;
  std::vector<uint8_t> junk = {0x01, 0x02, 0xF0};
  junk.insert(junk.end(), Parser::kLongestSysex + 1, 0x6A);  // a sysex too long
  junk.insert(junk.end(), {0xF7, 0xE2, 0x01, 0x00});
  const auto messages = Messages(parser, junk);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].kind, Message::Kind::Analog);
  EXPECT_EQ(messages[0].value, 1);
}

}  // namespace
}  // namespace kvr::firmata
