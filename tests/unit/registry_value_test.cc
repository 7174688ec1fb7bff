#include "platform/registry_value.h"

#include <gtest/gtest.h>

namespace vantrel::platform {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(RegistryValueTest, StringsAreUtf16LittleEndianWithATerminatingZero) {
  EXPECT_EQ(MakeStringValue("A\xC3\xA9").data, (Bytes{'A', 0, 0xE9, 0, 0, 0}));
  EXPECT_EQ(MakeStringValue("").data, (Bytes{0, 0}));
  EXPECT_EQ(MakeStringValue("%X%", kRegExpandSz).type, kRegExpandSz);
  // Outside the basic plane: a surrogate pair, low byte first.
  EXPECT_EQ(MakeStringValue("\xF0\x9F\x96\xA8").data, (Bytes{0x3D, 0xD8, 0xA8, 0xDD, 0, 0}));
}

TEST(RegistryValueTest, ReadStringStopsAtTheFirstZeroAndTakesOnlyStringTypes) {
  EXPECT_EQ(ReadString(RegistryValue{kRegSz, {'o', 0, 'k', 0, 0, 0, 'x', 0}}), "ok");
  EXPECT_EQ(ReadString(RegistryValue{kRegExpandSz, {'o', 0, 'k', 0}}), "ok") << "no terminator";
  EXPECT_EQ(ReadString(RegistryValue{kRegSz, {'o', 0, 'k'}}), "o") << "odd last byte";
  EXPECT_EQ(ReadString(RegistryValue{kRegSz, {}}), "");
  EXPECT_FALSE(ReadString(MakeDwordValue(0x6B6F)));
  EXPECT_FALSE(ReadString(RegistryValue{kRegBinary, {'o', 0, 0, 0}}));
  EXPECT_FALSE(ReadString(MakeMultiStringValue({"a"})));
}

TEST(RegistryValueTest, MultiStringsEndWithTwoZerosAndReadBackTolerantly) {
  EXPECT_EQ(MakeMultiStringValue({"a", "bc"}).data,
            (Bytes{'a', 0, 0, 0, 'b', 0, 'c', 0, 0, 0, 0, 0}));
  EXPECT_EQ(MakeMultiStringValue({}).data, (Bytes{0, 0, 0, 0}));
  EXPECT_EQ(MakeMultiStringValue({"a", "", "b"}), MakeMultiStringValue({"a", "b"}));

  const std::vector<std::string> items = {"Z\xC3\xBCrich", "Label 4x6"};
  EXPECT_EQ(ReadMultiString(MakeMultiStringValue(items)), items);
  EXPECT_EQ(ReadMultiString(MakeMultiStringValue({})), std::vector<std::string>{});
  // Other writers leave out the last zeros, or put data after the end.
  EXPECT_EQ(ReadMultiString(RegistryValue{kRegMultiSz, {'a', 0, 0, 0, 'b', 0}}),
            (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(ReadMultiString(RegistryValue{kRegMultiSz, {'a', 0}}), std::vector<std::string>{"a"});
  EXPECT_EQ(ReadMultiString(RegistryValue{kRegMultiSz, {'a', 0, 0, 0, 0, 0, 'b', 0, 0, 0}}),
            std::vector<std::string>{"a"});
  EXPECT_FALSE(ReadMultiString(MakeStringValue("a")));
}

TEST(RegistryValueTest, NumbersAreLittleEndianAndReadOnlyFromTheirExactType) {
  EXPECT_EQ(MakeDwordValue(0x11223344).data, (Bytes{0x44, 0x33, 0x22, 0x11}));
  EXPECT_EQ(MakeQwordValue(0x1122334455667788ULL).data,
            (Bytes{0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11}));
  EXPECT_EQ(ReadDword(MakeDwordValue(0xFFFFFFFF)), 0xFFFFFFFFu);
  EXPECT_EQ(ReadQword(MakeQwordValue(~0ULL)), ~0ULL);

  EXPECT_FALSE(ReadDword(MakeBinaryValue({1, 2, 3, 4}))) << "four bytes of binary are not a DWORD";
  EXPECT_FALSE(ReadDword(RegistryValue{kRegDword, {1, 2, 3}}));
  EXPECT_FALSE(ReadDword(RegistryValue{kRegDword, {1, 2, 3, 4, 5}}));
  EXPECT_FALSE(ReadDword(MakeQwordValue(1)));
  EXPECT_FALSE(ReadQword(MakeDwordValue(1)));
  EXPECT_FALSE(ReadQword(RegistryValue{kRegQword, {1, 2, 3, 4}}));
}

TEST(RegistryValueTest, TypeNames) {
  const std::pair<uint32_t, const char*> names[] = {
      {kRegNone, "REG_NONE"},
      {kRegSz, "REG_SZ"},
      {kRegExpandSz, "REG_EXPAND_SZ"},
      {kRegBinary, "REG_BINARY"},
      {kRegDword, "REG_DWORD"},
      {kRegMultiSz, "REG_MULTI_SZ"},
      {kRegQword, "REG_QWORD"},
      {5, "REG_UNKNOWN(5)"},
      {4000000000u, "REG_UNKNOWN(4000000000)"},
  };
  for (const auto& [type, name] : names) EXPECT_EQ(RegistryTypeName(type), name);
}

}  // namespace
}  // namespace vantrel::platform
