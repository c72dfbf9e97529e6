// Text from outside and its conversions to the files' encodings.
#include "platform/utf8.h"

#include <gtest/gtest.h>

#include "platform/code_page.h"

namespace tavelin {
namespace {

TEST(Utf8, TellsValidTextFromBrokenBytes) {
  for (const char* valid : {"", "abc", "炉 1", "a?b", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_TRUE(IsValidUtf8(valid)) << valid;
  }
  const char* broken[] = {
      "\xF0"
      "ABC",               // a lead byte followed by ASCII
      "\xB0\xEC\xA4\xEA",  // EUC-JP
      "\xC0\x80",          // an overlong NUL
      "\xE0\x80\xAF",      // an overlong slash
      "\xED\xA0\x80",      // a surrogate
      "\xF4\x90\x80\x80",  // past U+10FFFF
      "\xE3\x81",          // cut short
      "\x80",
      "\xFF",
  };
  for (const char* text : broken) EXPECT_FALSE(IsValidUtf8(text)) << text;
}

// An invalid sequence becomes "?" and takes nothing that follows it.
TEST(Utf8, BrokenSequencesBecomeAQuestionMarkAndKeepWhatFollows) {
  struct Case {
    const char* in;
    const char* out;
    std::u16string utf16;
  };
  const Case cases[] = {
      {"\xF0"
       "ABC\r\n",
       "?ABC\r\n", u"?ABC\r\n"},
      {"\xE3\x81"
       "A",
       "?A", u"?A"},
      {"a\xB0\xEC"
       "b",
       "a??b", u"a??b"},
      {"炉\xFF", "炉?", u"炉?"},
      {"\xED\xA0\x80", "???", u"???"},  // never a lone surrogate
      {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80", u"\xD83D\xDE00"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ValidUtf8(c.in), c.out) << c.in;
    EXPECT_EQ(Utf16Of(c.in), c.utf16) << c.in;
  }
}

TEST(CodePage, BrokenBytesOnEitherSideKeepTheLineEnd) {
  EXPECT_EQ(ToCodePage("\xF0"
                       "ABC\r\n"),
            "?ABC\r\n");
  EXPECT_EQ(ToCodePage("炉\xB0\r\n"), "\x98\x46?\r\n");
  EXPECT_EQ(ToCodePage("ü"), "?");  // a character CP932 lacks
  EXPECT_EQ(FromCodePage("\x81\r\nA"), "?\r\nA");
  EXPECT_EQ(FromCodePage("\x98\x46\x81"), "炉?");
}

TEST(Utf8, CountsCharactersNotBytes) {
  EXPECT_EQ(FirstCharacters("炉炉炉", 2), "炉炉");
  EXPECT_EQ(FirstCharacters("ab", 5), "ab");
  EXPECT_EQ(TrimBlanks("  炉 1  "), "炉 1");
  EXPECT_EQ(TrimBlanks("   "), "");
  EXPECT_EQ(TrimBlanks("\t炉\t"), "\t炉\t");  // only blanks are cut
}

// A workbook's texts are UTF-16: back to UTF-8 whole, pairs joined.
TEST(Utf8, Utf16ComesBackWhole) {
  for (const char* text : {"", "ab", "炉 ü", "温度 \xF0\x9F\x94\xA5 end", "\x7F\xC2\x80\xDF\xBF"})
    EXPECT_EQ(Utf8Of(Utf16Of(text)), text);
  EXPECT_EQ(Utf8Of(u"\xD800x"), "\xED\xA0\x80x");  // a lone surrogate stays
}

// An escape or a bell in a comment would reach folder names and the
// terminal: replaced, one "?" a character, before the cut to the length.
TEST(Utf8, ACommentLosesItsControlCharacters) {
  EXPECT_EQ(TrimmedComment(" a\x1b[2Jb\x07"
                           "c ",
                           50),
            "a?[2Jb?c");
  EXPECT_EQ(TrimmedComment("炉\x7f\u0085x", 50), "炉??x");
  EXPECT_EQ(TrimmedComment("\t炉\r\n1", 50), "\t炉\r\n1");  // as the log keeps them
  EXPECT_EQ(TrimmedComment("\x1b\x1b\x1b", 2), "??");
}

}  // namespace
}  // namespace tavelin
