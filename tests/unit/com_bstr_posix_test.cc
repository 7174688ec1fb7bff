// BSTR allocation: the length prefix, embedded NULs, odd byte lengths, the
// terminator, null strings and reallocation from the string itself.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "automation_runtime.h"

namespace {

uint32_t Prefix(BSTR text) {
  uint32_t bytes;
  std::memcpy(&bytes, reinterpret_cast<char*>(text) - 4, 4);
  return bytes;
}

TEST(ComBstrTest, LengthCountsEmbeddedNulsAndThePrefixHoldsBytes) {
  const OLECHAR source[] = {u'a', 0, u'b', u'c'};
  BSTR text = SysAllocStringLen(source, 3);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(SysStringLen(text), 3u);
  EXPECT_EQ(SysStringByteLen(text), 6u);
  EXPECT_EQ(Prefix(text), 6u);
  EXPECT_EQ(text[1], 0);
  EXPECT_EQ(text[2], u'b');
  EXPECT_EQ(text[3], 0) << "no terminator after the copied characters";
  EXPECT_EQ(reinterpret_cast<uintptr_t>(text) % 8, 0u);
  SysFreeString(text);
}

TEST(ComBstrTest, ByteLengthStringsKeepOddLengthsAndEndInNuls) {
  BSTR text = SysAllocStringByteLen("xyz", 3);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(SysStringByteLen(text), 3u);
  EXPECT_EQ(SysStringLen(text), 1u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(text)), "xyz");
  EXPECT_EQ(reinterpret_cast<char*>(text)[4], 0) << "the wide terminator is cut short";
  SysFreeString(text);

  BSTR zeros = SysAllocStringByteLen(nullptr, 4);
  ASSERT_NE(zeros, nullptr);
  EXPECT_EQ(zeros[0], 0);
  EXPECT_EQ(zeros[1], 0);
  SysFreeString(zeros);
}

TEST(ComBstrTest, NullIsTheEmptyString) {
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  EXPECT_EQ(SysStringByteLen(nullptr), 0u);
  SysFreeString(nullptr);

  BSTR empty = SysAllocString(u"");
  ASSERT_NE(empty, nullptr) << "an empty string is not a null string";
  EXPECT_EQ(SysStringLen(empty), 0u);
  SysFreeString(empty);
}

TEST(ComBstrTest, LengthsBeyondThePrefixAreRefused) {
  EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000u), nullptr);
  EXPECT_EQ(SysAllocStringByteLen(nullptr, 0xFFFFFFFFu), nullptr);
}

TEST(ComBstrTest, ReallocationMayReadFromTheOldString) {
  BSTR text = SysAllocString(u"printer queue");
  ASSERT_TRUE(SysReAllocString(&text, text + 8));
  EXPECT_EQ(std::u16string(text), u"queue");
  ASSERT_TRUE(SysReAllocStringLen(&text, text + 1, 3));
  EXPECT_EQ(std::u16string(text, SysStringLen(text)), u"ueu");
  EXPECT_TRUE(SysReAllocString(&text, nullptr));
  EXPECT_EQ(text, nullptr);
  EXPECT_FALSE(SysReAllocString(nullptr, u"x"));
}

}  // namespace
