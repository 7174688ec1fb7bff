// VariantChangeType: conversions between the automation types, their range
// and rounding rules, text in the C locale, objects through their default
// member, and what happens to the destination.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "automation_runtime.h"
#include "fakes/counting_dispatch.h"

namespace {

using vantrel::testing::CountingDispatch;

template <class T>
VARIANT Of(VARTYPE vt, T VARIANT::*field, T value) {
  VARIANT v{};
  v.vt = vt;
  v.*field = value;
  return v;
}
VARIANT I4(LONG x) { return Of(VT_I4, &VARIANT::lVal, x); }
VARIANT I8(LONGLONG x) { return Of(VT_I8, &VARIANT::llVal, x); }
VARIANT UI4(ULONG x) { return Of(VT_UI4, &VARIANT::ulVal, x); }
VARIANT UI8(ULONGLONG x) { return Of(VT_UI8, &VARIANT::ullVal, x); }
VARIANT R4(float x) { return Of(VT_R4, &VARIANT::fltVal, x); }
VARIANT R8(double x) { return Of(VT_R8, &VARIANT::dblVal, x); }
VARIANT Date(double x) { return Of(VT_DATE, &VARIANT::date, x); }
VARIANT Bool(bool x) { return Of<VARIANT_BOOL>(VT_BOOL, &VARIANT::boolVal, x ? VARIANT_TRUE : 0); }
VARIANT Text(const char16_t* x) { return Of(VT_BSTR, &VARIANT::bstrVal, SysAllocString(x)); }
VARIANT Error(SCODE x) { return Of(VT_ERROR, &VARIANT::scode, x); }
VARIANT Tag(VARTYPE vt) { return Of<LONGLONG>(vt, &VARIANT::llVal, 0); }
template <class T>
VARIANT Ref(VARTYPE vt, T VARIANT::*field, T pointer) {
  return Of(static_cast<VARTYPE>(vt | VT_BYREF), field, pointer);
}

// A readable "TYPE:value" form of a converted value.
std::string Show(const VARIANT& v) {
  auto text = [](BSTR b) { return std::string(b, b + SysStringLen(b)); };
  switch (v.vt) {
    case VT_EMPTY:
      return "EMPTY";
    case VT_NULL:
      return "NULL";
    case VT_I1:
      return "I1:" + std::to_string(v.cVal);
    case VT_I2:
      return "I2:" + std::to_string(v.iVal);
    case VT_I4:
      return "I4:" + std::to_string(v.lVal);
    case VT_INT:
      return "INT:" + std::to_string(v.intVal);
    case VT_I8:
      return "I8:" + std::to_string(v.llVal);
    case VT_UI1:
      return "UI1:" + std::to_string(v.bVal);
    case VT_UI2:
      return "UI2:" + std::to_string(v.uiVal);
    case VT_UI4:
      return "UI4:" + std::to_string(v.ulVal);
    case VT_UI8:
      return "UI8:" + std::to_string(v.ullVal);
    case VT_R4:
      return "R4:" + std::to_string(v.fltVal);
    case VT_R8:
      return "R8:" + std::to_string(v.dblVal);
    case VT_DATE:
      return "DATE:" + std::to_string(v.date);
    case VT_BOOL:
      return "BOOL:" + std::to_string(v.boolVal);
    case VT_BSTR:
      return "BSTR:" + text(v.bstrVal);
    default:
      return "vt " + std::to_string(v.vt);
  }
}

// Converts and answers the result, or the failure as "0x8002000A".
std::string Convert(VARIANT source, VARTYPE vt, USHORT flags = 0) {
  VARIANT result;
  VariantInit(&result);
  const HRESULT hr = VariantChangeType(&result, &source, flags, vt);
  VariantClear(&source);
  if (FAILED(hr)) {
    char code[16];
    snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(hr));
    return code;
  }
  std::string shown = Show(result);
  VariantClear(&result);
  return shown;
}

const std::string kOverflow = "0x8002000A";
const std::string kMismatch = "0x80020005";
const std::string kBadType = "0x80020008";

TEST(ComChangeTypeTest, DoublesRoundHalfToEvenBeforeTheRangeCheck) {
  EXPECT_EQ(Convert(R8(2.5), VT_I4), "I4:2");
  EXPECT_EQ(Convert(R8(3.5), VT_I4), "I4:4");
  EXPECT_EQ(Convert(R8(-2.5), VT_I2), "I2:-2");
  EXPECT_EQ(Convert(R8(2.5000001), VT_I4), "I4:3");
  EXPECT_EQ(Convert(R8(-0.5), VT_UI1), "UI1:0");
  EXPECT_EQ(Convert(R8(254.5), VT_UI1), "UI1:254");
  EXPECT_EQ(Convert(R8(255.5), VT_UI1), kOverflow);
  EXPECT_EQ(Convert(R8(2147483647.5), VT_I4), kOverflow);
  EXPECT_EQ(Convert(R8(-2147483648.5), VT_I4), "I4:-2147483648");
  EXPECT_EQ(Convert(R8(9.3e18), VT_I8), kOverflow);
  EXPECT_EQ(Convert(R8(-9223372036854775808.0), VT_I8), "I8:-9223372036854775808");
  EXPECT_EQ(Convert(R8(1e19), VT_UI8), "UI8:10000000000000000000");
  EXPECT_EQ(Convert(Date(1.5), VT_I4), "I4:2");
}

TEST(ComChangeTypeTest, IntegersOutsideTheTargetRangeOverflow) {
  EXPECT_EQ(Convert(I8(INT64_C(2147483648)), VT_I4), kOverflow);
  EXPECT_EQ(Convert(I8(INT64_C(2147483647)), VT_I4), "I4:2147483647");
  EXPECT_EQ(Convert(UI4(0xFFFFFFFF), VT_I4), kOverflow);
  EXPECT_EQ(Convert(UI4(0xFFFFFFFF), VT_INT), kOverflow);
  EXPECT_EQ(Convert(I4(-1), VT_UI4), kOverflow);
  EXPECT_EQ(Convert(I4(-1), VT_UI8), kOverflow);
  EXPECT_EQ(Convert(I4(128), VT_I1), kOverflow);
  EXPECT_EQ(Convert(I4(-128), VT_I1), "I1:-128");
  EXPECT_EQ(Convert(I4(65535), VT_UI2), "UI2:65535");
  EXPECT_EQ(Convert(UI8(UINT64_MAX), VT_I8), kOverflow);
  EXPECT_EQ(Convert(I8(INT64_MIN), VT_R8), "R8:-9223372036854775808.000000");
  EXPECT_EQ(Convert(R8(1e39), VT_R4), kOverflow);
  EXPECT_EQ(Convert(R8(1e7), VT_DATE), kOverflow);
  EXPECT_EQ(Convert(R8(45000.25), VT_DATE), "DATE:45000.250000");
}

TEST(ComChangeTypeTest, TextIsReadAsDecimalNumbersInTheCLocale) {
  EXPECT_EQ(Convert(Text(u" 42 "), VT_I4), "I4:42");
  EXPECT_EQ(Convert(Text(u"+7"), VT_I2), "I2:7");
  EXPECT_EQ(Convert(Text(u"2.5"), VT_I4), "I4:2");
  EXPECT_EQ(Convert(Text(u"-.5e1"), VT_R8), "R8:-5.000000");
  EXPECT_EQ(Convert(Text(u"1e3"), VT_I2), "I2:1000");
  EXPECT_EQ(Convert(Text(u"2147483648"), VT_I4), kOverflow);
  EXPECT_EQ(Convert(Text(u"18446744073709551615"), VT_UI8), "UI8:18446744073709551615");
  EXPECT_EQ(Convert(Text(u"-9223372036854775808"), VT_I8), "I8:-9223372036854775808");
  EXPECT_EQ(Convert(Text(u"1e400"), VT_R8), kOverflow);
  EXPECT_EQ(Convert(Text(u"1e-400"), VT_R8), "R8:0.000000");
  for (const char16_t* bad :
       {u"", u"abc", u"12abc", u"1,5", u"0x10", u"1e", u"--1", u".", u"inf", u"nan", u"\u0661"}) {
    EXPECT_EQ(Convert(Text(bad), VT_I4), kMismatch);
  }
  EXPECT_EQ(Convert(Of<BSTR>(VT_BSTR, &VARIANT::bstrVal, nullptr), VT_I4), kMismatch);
  EXPECT_EQ(Convert(Of(VT_BSTR, &VARIANT::bstrVal, SysAllocStringLen(u"1\0002", 3)), VT_I4),
            kMismatch);
}

TEST(ComChangeTypeTest, NumbersAreWrittenInTheirShortestExactText) {
  EXPECT_EQ(Convert(R8(0.1), VT_BSTR), "BSTR:0.1");
  EXPECT_EQ(Convert(R8(0.1 + 0.2), VT_BSTR), "BSTR:0.30000000000000004");
  EXPECT_EQ(Convert(R8(-0.5), VT_BSTR), "BSTR:-0.5");
  EXPECT_EQ(Convert(R8(-0.0), VT_BSTR), "BSTR:0");
  EXPECT_EQ(Convert(R8(1234567.0), VT_BSTR), "BSTR:1234567");
  EXPECT_EQ(Convert(R8(123456789012345.0), VT_BSTR), "BSTR:123456789012345");
  EXPECT_EQ(Convert(R8(1e15), VT_BSTR), "BSTR:1E+15");
  EXPECT_EQ(Convert(R8(1.5e20), VT_BSTR), "BSTR:1.5E+20");
  EXPECT_EQ(Convert(R8(0.00001), VT_BSTR), "BSTR:0.00001");
  EXPECT_EQ(Convert(R8(1.5e-7), VT_BSTR), "BSTR:1.5E-07");
  EXPECT_EQ(Convert(R4(0.1f), VT_BSTR), "BSTR:0.1");
  EXPECT_EQ(Convert(I8(INT64_MIN), VT_BSTR), "BSTR:-9223372036854775808");
  EXPECT_EQ(Convert(UI8(UINT64_MAX), VT_BSTR), "BSTR:18446744073709551615");
  // Every double written reads back to itself.
  for (double x : {1.0 / 3, 2.0 / 3e300, 6.02214076e23, 5e-324, -1.7976931348623157e308}) {
    VARIANT text = Tag(VT_EMPTY);
    VARIANT source = R8(x);
    ASSERT_EQ(VariantChangeType(&text, &source, 0, VT_BSTR), S_OK);
    VARIANT back;
    VariantInit(&back);
    ASSERT_EQ(VariantChangeType(&back, &text, 0, VT_R8), S_OK) << Show(text);
    EXPECT_EQ(back.dblVal, x) << Show(text);
    VariantClear(&text);
  }
}

TEST(ComChangeTypeTest, BooleansAreMinusOneOrZeroAndReadFromWordsOrNumbers) {
  EXPECT_EQ(Convert(Bool(true), VT_BSTR), "BSTR:True");
  EXPECT_EQ(Convert(Bool(false), VT_BSTR), "BSTR:False");
  EXPECT_EQ(Convert(Bool(true), VT_I4), "I4:-1");
  EXPECT_EQ(Convert(Bool(true), VT_UI1), kOverflow);
  EXPECT_EQ(Convert(I4(5), VT_BOOL), "BOOL:-1");
  EXPECT_EQ(Convert(R8(0.0), VT_BOOL), "BOOL:0");
  EXPECT_EQ(Convert(R8(0.25), VT_BOOL), "BOOL:-1");
  EXPECT_EQ(Convert(Text(u"TRUE"), VT_BOOL), "BOOL:-1");
  EXPECT_EQ(Convert(Text(u" false "), VT_BOOL), "BOOL:0");
  EXPECT_EQ(Convert(Text(u"0"), VT_BOOL), "BOOL:0");
  EXPECT_EQ(Convert(Text(u"-2"), VT_BOOL), "BOOL:-1");
  EXPECT_EQ(Convert(Text(u"yes"), VT_BOOL), kMismatch);
}

TEST(ComChangeTypeTest, EmptyNullErrorAndDatesFollowTheirOwnRules) {
  EXPECT_EQ(Convert(Tag(VT_EMPTY), VT_I4), "I4:0");
  EXPECT_EQ(Convert(Tag(VT_EMPTY), VT_BSTR), "BSTR:");
  EXPECT_EQ(Convert(Tag(VT_EMPTY), VT_BOOL), "BOOL:0");
  EXPECT_EQ(Convert(Tag(VT_NULL), VT_NULL), "NULL");
  EXPECT_EQ(Convert(Tag(VT_NULL), VT_EMPTY), kMismatch);
  for (VARTYPE vt : {VT_I4, VT_BSTR, VT_BOOL, VT_R8})
    EXPECT_EQ(Convert(Tag(VT_NULL), vt), kMismatch);
  EXPECT_EQ(Convert(I4(3), VT_EMPTY), "EMPTY");
  EXPECT_EQ(Convert(Error(DISP_E_PARAMNOTFOUND), VT_I4), kMismatch);
  EXPECT_EQ(Convert(Date(2.75), VT_R8), "R8:2.750000");
  EXPECT_EQ(Convert(Date(2.75), VT_BSTR), kMismatch);
  EXPECT_EQ(Convert(Text(u"2024-01-01"), VT_DATE), kMismatch);
  EXPECT_EQ(Convert(Text(u"5"), VT_DATE), kMismatch);
}

TEST(ComChangeTypeTest, InvalidTagsAndReferenceTargetsAreRefused) {
  EXPECT_EQ(Convert(I4(1), VT_VARIANT), kBadType);
  EXPECT_EQ(Convert(I4(1), 15), kBadType);
  EXPECT_EQ(Convert(Tag(15), VT_I4), kBadType);
  EXPECT_EQ(Convert(I4(1), VT_I4 | VT_BYREF), kMismatch);
  EXPECT_EQ(Convert(I4(1), VT_ARRAY | VT_I4), kMismatch);
  VARIANT v = I4(1);
  EXPECT_EQ(VariantChangeType(nullptr, &v, 0, VT_I4), E_INVALIDARG);
  EXPECT_EQ(VariantChangeType(&v, nullptr, 0, VT_I4), E_INVALIDARG);
}

TEST(ComChangeTypeTest, ReferencesAreConvertedAsTheValueTheyReach) {
  SHORT small = 300;
  EXPECT_EQ(Convert(Ref(VT_I2, &VARIANT::piVal, &small), VT_BSTR), "BSTR:300");
  VARIANT inner = Text(u"7");
  EXPECT_EQ(Convert(Ref(VT_VARIANT, &VARIANT::pvarVal, &inner), VT_I2), "I2:7");
  EXPECT_EQ(std::u16string(inner.bstrVal), u"7") << "the referenced value was changed";
  VariantClear(&inner);
}

TEST(ComChangeTypeTest, TheDestinationChangesOnlyOnSuccessAndMayBeTheSource) {
  VARIANT destination = Text(u"sentinel");
  VARIANT source = Text(u"not a number");
  EXPECT_EQ(VariantChangeType(&destination, &source, 0, VT_I4), DISP_E_TYPEMISMATCH);
  ASSERT_EQ(destination.vt, VT_BSTR);
  EXPECT_EQ(std::u16string(destination.bstrVal), u"sentinel");

  EXPECT_EQ(VariantChangeType(&source, &source, 0, VT_I4), DISP_E_TYPEMISMATCH);
  ASSERT_EQ(source.vt, VT_BSTR) << "a failed in-place conversion lost the source";
  EXPECT_EQ(std::u16string(source.bstrVal), u"not a number");
  VariantClear(&source);

  // In place and onto an owned string: both old strings are freed (leak check).
  VARIANT number = Text(u"12");
  ASSERT_EQ(VariantChangeType(&number, &number, 0, VT_I4), S_OK);
  EXPECT_EQ(Show(number), "I4:12");
  ASSERT_EQ(VariantChangeType(&destination, &number, 0, VT_R8), S_OK);
  EXPECT_EQ(Show(destination), "R8:12.000000");
}

TEST(ComChangeTypeTest, ObjectsConvertThroughTheirDefaultMember) {
  CountingDispatch object;
  object.SetValue(I4(1234));
  VARIANT source;
  source.vt = VT_DISPATCH;
  source.pdispVal = &object;
  VARIANT result;
  VariantInit(&result);
  ASSERT_EQ(VariantChangeType(&result, &source, 0, VT_BSTR), S_OK);
  EXPECT_EQ(Show(result), "BSTR:1234");
  EXPECT_EQ(object.value_reads(), 1);
  EXPECT_EQ(VariantChangeType(&result, &source, VARIANT_NOVALUEPROP, VT_I4), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(object.value_reads(), 1);
  ASSERT_EQ(VariantChangeType(&result, &source, 0, VT_UNKNOWN), S_OK);
  EXPECT_EQ(object.references(), 2u);
  VariantClear(&result);
  EXPECT_EQ(object.references(), 1u);

  object.FailInvoke(DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(VariantChangeType(&result, &source, 0, VT_I4), DISP_E_TYPEMISMATCH);

  // An object whose value is an object: one step only, no endless descent.
  CountingDispatch nested;
  VARIANT self;
  self.vt = VT_DISPATCH;
  self.pdispVal = &nested;
  nested.SetValue(self);
  EXPECT_EQ(VariantChangeType(&result, &self, 0, VT_I4), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(nested.value_reads(), 1);
  nested.SetValue(Tag(VT_EMPTY));
  EXPECT_EQ(nested.references(), 1u);

  source.pdispVal = nullptr;
  EXPECT_EQ(VariantChangeType(&result, &source, 0, VT_I4), DISP_E_TYPEMISMATCH);
}

TEST(ComChangeTypeTest, UnknownBecomesDispatchOnlyWhenTheObjectOffersIt) {
  CountingDispatch plain(/*answers_dispatch=*/false);
  VARIANT source;
  source.vt = VT_UNKNOWN;
  source.punkVal = &plain;
  VARIANT result = Text(u"sentinel");
  EXPECT_EQ(VariantChangeType(&result, &source, 0, VT_DISPATCH), E_NOINTERFACE);
  EXPECT_EQ(result.vt, VT_BSTR);
  EXPECT_EQ(VariantChangeType(&result, &source, 0, VT_I4), DISP_E_TYPEMISMATCH);

  CountingDispatch object;
  source.punkVal = &object;
  ASSERT_EQ(VariantChangeType(&result, &source, 0, VT_DISPATCH), S_OK);
  EXPECT_EQ(result.pdispVal, &object);
  EXPECT_EQ(object.references(), 2u);
  VariantClear(&result);
  source.punkVal = nullptr;
  ASSERT_EQ(VariantChangeType(&result, &source, 0, VT_DISPATCH), S_OK);
  EXPECT_EQ(result.pdispVal, nullptr);
  EXPECT_EQ(plain.references(), 1u);
}

}  // namespace
