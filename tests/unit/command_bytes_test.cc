// The byte forms of device commands and replies: hexadecimal digits, text and
// arrays in variants, including the shapes scripting clients pass.
#include "driver/command_bytes.h"

#include <gtest/gtest.h>

#include "frame/ole_string.h"
#include "support/exceptions.h"
#include "unit/dispatch_calls.h"

namespace vantrel {
namespace {

using testing::ScopedVariant;

constexpr ResultCode kInvalidArgument = ToResultCode(0x80070057);

// The result code a conversion threw, or 0.
template <class Conversion>
ResultCode ThrownCode(Conversion&& conversion) {
  try {
    conversion();
  } catch (const KestoException& e) {
    return e.code();
  }
  return 0;
}

TEST(CommandBytesTest, HexadecimalCarriesEveryByteAndRejectsNoCharacter) {
  const ByteVector bytes{0x00, 0xFF, 0x0A, 0x5C};
  EXPECT_EQ(BytesToHexadecimal(bytes), "00FF0A5C");
  EXPECT_EQ(HexadecimalToBytes("00ff0A5c"), bytes);
  EXPECT_EQ(BytesToHexadecimal({}), "");
  EXPECT_EQ(HexadecimalToBytes(""), ByteVector{});
  // A trailing odd digit is dropped.
  EXPECT_EQ(HexadecimalToBytes("0a1"), ByteVector{0x0A});
  EXPECT_EQ(HexadecimalToBytes("F"), ByteVector{});
  // Not digits at all: each still gives the low four bits of its code plus 9.
  EXPECT_EQ(HexadecimalToBytes("G0zz 1"), (ByteVector{0x00, 0x33, 0x91}));
  // A non-ASCII character is read as its UTF-8 bytes (C3 A9 for U+00E9).
  const frame::Bstr accented("\xC3\xA9");
  EXPECT_EQ(HexadecimalBstrToBytes(accented.get()), ByteVector{0xC2});
  EXPECT_TRUE(HexadecimalBstrToBytes(nullptr).empty());
}

TEST(CommandBytesTest, TextIsUtf8AndKeepsNulBytes) {
  frame::Bstr text;
  *text.receive() = BytesToTextBstr(ByteVector{'A', 0x00, 'B'});
  ASSERT_EQ(SysStringLen(text.get()), 3u);
  EXPECT_EQ(text.get()[1], 0);

  const frame::Bstr euro("\xE2\x82\xAC \xC3\xA9");  // "€ é"
  EXPECT_EQ(TextBstrToBytes(euro.get()), (ByteVector{0xE2, 0x82, 0xAC, ' ', 0xC3, 0xA9}));
  EXPECT_TRUE(TextBstrToBytes(nullptr).empty());
  // Bytes that are not UTF-8 read as the replacement character; only the
  // text form loses them.
  frame::Bstr invalid;
  *invalid.receive() = BytesToTextBstr(ByteVector{0xFF});
  ASSERT_EQ(SysStringLen(invalid.get()), 1u);
  EXPECT_EQ(static_cast<uint32_t>(invalid.get()[0]), 0xFFFDu);
}

TEST(CommandBytesTest, ArraysCarryEveryByteFromTheirLowerBound) {
  ByteVector all(256);
  for (int i = 0; i < 256; ++i) all[i] = static_cast<uint8_t>(i);
  ScopedVariant value;
  BytesToVariant(all, value.get());
  ASSERT_EQ(value.type(), VT_ARRAY | VT_UI1);
  EXPECT_EQ(VariantToBytes(*value), all);

  ScopedVariant shifted;
  V_VT(shifted.get()) = VT_ARRAY | VT_UI1;
  V_ARRAY(shifted.get()) = SafeArrayCreateVector(VT_UI1, 5, 2);
  for (LONG i : {5, 6}) {
    uint8_t byte = static_cast<uint8_t>(i * 16);
    SafeArrayPutElement(V_ARRAY(shifted.get()), &i, &byte);
  }
  EXPECT_EQ(VariantToBytes(*shifted), (ByteVector{0x50, 0x60}));
}

TEST(CommandBytesTest, ScriptArraysOfNumbersBecomeBytes) {
  ScopedVariant value;
  V_VT(value.get()) = VT_ARRAY | VT_VARIANT;
  V_ARRAY(value.get()) = SafeArrayCreateVector(VT_VARIANT, 0, 3);
  VARIANT elements[3] = {testing::I4Value(27), testing::I4Value(255), testing::I4Value(0)};
  for (LONG i = 0; i < 3; ++i) SafeArrayPutElement(V_ARRAY(value.get()), &i, &elements[i]);
  // Passed by reference, as a script passes its variable.
  VARIANT reference;
  VariantInit(&reference);
  V_VT(&reference) = VT_BYREF | VT_VARIANT;
  V_VARIANTREF(&reference) = value.get();
  EXPECT_EQ(VariantToBytes(reference), (ByteVector{27, 255, 0}));

  // An element that does not fit in a byte refuses the whole array.
  LONG last = 2;
  VARIANT too_big = testing::I4Value(256);
  SafeArrayPutElement(V_ARRAY(value.get()), &last, &too_big);
  EXPECT_EQ(ThrownCode([&] { VariantToBytes(*value); }), kInvalidArgument);
}

TEST(CommandBytesTest, AnythingButAOneDimensionalArrayIsRefused) {
  ScopedVariant text;
  V_VT(text.get()) = VT_BSTR;
  V_BSTR(text.get()) = frame::AllocBstr("1B41");
  ScopedVariant empty;
  ScopedVariant matrix;
  SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
  V_VT(matrix.get()) = VT_ARRAY | VT_UI1;
  V_ARRAY(matrix.get()) = SafeArrayCreate(VT_UI1, 2, bounds);
  for (const VARIANT* refused : {&*text, &*empty, &*matrix}) {
    EXPECT_EQ(ThrownCode([&] { VariantToBytes(*refused); }), kInvalidArgument)
        << "type " << V_VT(refused);
  }
}

}  // namespace
}  // namespace vantrel
