#include "platform/unicode.h"

#include <gtest/gtest.h>

namespace vantrel::platform {
namespace {

TEST(UnicodeTest, ValidTextRoundTripsExactly) {
  // One, two, three and four UTF-8 bytes; the last becomes a surrogate pair.
  const std::string text = "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x96\xA8";
  const std::u16string wide = Utf8ToUtf16(text);
  EXPECT_EQ(wide, (std::u16string{u'A', 0x00E4, 0x20AC, 0xD83D, 0xDDA8}));
  EXPECT_EQ(Utf16ToUtf8(wide), text);
  EXPECT_EQ(Utf16ToUtf8(Utf8ToUtf16(std::string("a\0b", 3))), std::string("a\0b", 3));
}

TEST(UnicodeTest, MalformedUtf8BecomesOneReplacementAndDecodingResumes) {
  const struct {
    const char* name;
    std::string bytes;
  } cases[] = {
      {"lone continuation byte", "\x80"},      {"sequence cut short by ASCII", "\xE2\x82"},
      {"overlong slash", "\xC0\xAF"},          {"encoded surrogate", "\xED\xA0\x80"},
      {"beyond U+10FFFF", "\xF4\x90\x80\x80"}, {"invalid lead byte", "\xFF"},
  };
  for (const auto& bad : cases) {
    const std::u16string wide = Utf8ToUtf16("x" + bad.bytes + "y");
    ASSERT_GE(wide.size(), 3u) << bad.name;
    EXPECT_EQ(wide.front(), u'x') << bad.name;
    EXPECT_EQ(wide.back(), u'y') << bad.name << ": the byte after the damage was lost";
    for (size_t i = 1; i + 1 < wide.size(); ++i) EXPECT_EQ(wide[i], 0xFFFD) << bad.name;
  }
  EXPECT_EQ(Utf8ToUtf16("\xE2\x82"
                        "y"),
            (std::u16string{0xFFFD, u'y'}));
}

TEST(UnicodeTest, UnpairedSurrogatesBecomeReplacements) {
  EXPECT_EQ(Utf16ToUtf8(std::u16string{0xD83D, u'a'}),
            "\xEF\xBF\xBD"
            "a");
  EXPECT_EQ(Utf16ToUtf8(std::u16string{u'a', 0xDDA8}), "a\xEF\xBF\xBD");
  EXPECT_EQ(Utf16ToUtf8(std::u16string{0xD83D}), "\xEF\xBF\xBD");
}

TEST(UnicodeTest, AsciiLowerTouchesOnlyAsciiLetters) {
  EXPECT_EQ(AsciiLower("HKEY_Local@[Z]\xC3\x84"), "hkey_local@[z]\xC3\x84");
}

}  // namespace
}  // namespace vantrel::platform
