// VARIANT life cycle: what VariantClear frees, what VariantCopy and
// VariantCopyInd copy deeply and which references they add.
#include <gtest/gtest.h>

#include <string>

#include "automation_runtime.h"
#include "fakes/counting_dispatch.h"

namespace {

using vantrel::testing::CountingDispatch;

VARIANT Text(const char16_t* text) {
  VARIANT v;
  v.vt = VT_BSTR;
  v.bstrVal = SysAllocString(text);
  return v;
}

VARIANT Object(IDispatch* object) {
  object->AddRef();
  VARIANT v;
  v.vt = VT_DISPATCH;
  v.pdispVal = object;
  return v;
}

TEST(ComVariantTest, CopyOfAStringIsDeepAndKeepsItsExactBytes) {
  VARIANT source;
  source.vt = VT_BSTR;
  source.bstrVal = SysAllocStringByteLen("a\0bcd", 5);  // odd length, embedded NUL
  VARIANT copy = Text(u"replaced");                     // freed by the copy (leak check)
  ASSERT_EQ(VariantCopy(&copy, &source), S_OK);
  ASSERT_EQ(copy.vt, VT_BSTR);
  EXPECT_NE(copy.bstrVal, source.bstrVal);
  ASSERT_EQ(SysStringByteLen(copy.bstrVal), 5u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(copy.bstrVal), 5), std::string("a\0bcd", 5));
  VariantClear(&source);
  EXPECT_EQ(source.vt, VT_EMPTY);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(copy.bstrVal), 5), std::string("a\0bcd", 5));
  VariantClear(&copy);
}

TEST(ComVariantTest, CopyOfAnObjectAddsAReferenceAndClearReleasesIt) {
  CountingDispatch object;
  VARIANT source = Object(&object);
  VARIANT copy;
  VariantInit(&copy);
  ASSERT_EQ(VariantCopy(&copy, &source), S_OK);
  EXPECT_EQ(copy.pdispVal, &object);
  EXPECT_EQ(object.references(), 3u);
  EXPECT_EQ(VariantCopy(&copy, &copy), S_OK);
  EXPECT_EQ(object.references(), 3u) << "copying onto itself changed the count";
  VariantClear(&copy);
  VariantClear(&source);
  EXPECT_EQ(object.references(), 1u);
}

TEST(ComVariantTest, ReferencesAreCopiedAndClearedAsPointersOnly) {
  BSTR owned = SysAllocString(u"kept");
  VARIANT reference;
  reference.vt = VT_BSTR | VT_BYREF;
  reference.pbstrVal = &owned;
  VARIANT copy;
  VariantInit(&copy);
  ASSERT_EQ(VariantCopy(&copy, &reference), S_OK);
  EXPECT_EQ(copy.pbstrVal, &owned);
  EXPECT_EQ(VariantClear(&copy), S_OK);
  EXPECT_EQ(VariantClear(&reference), S_OK);
  EXPECT_EQ(std::u16string(owned), u"kept") << "clearing a reference freed its target";
  SysFreeString(owned);
}

TEST(ComVariantTest, InvalidTagsAreRefusedAndLeaveBothSidesAlone) {
  for (VARTYPE bad : {VARTYPE(15), VARTYPE(VT_VARIANT), VARTYPE(VT_NULL | VT_BYREF),
                      VARTYPE(VT_I4 | VT_VECTOR), VARTYPE(VT_RECORD), VARTYPE(99)}) {
    VARIANT source;
    source.vt = bad;
    VARIANT target = Text(u"sentinel");
    EXPECT_EQ(VariantCopy(&target, &source), DISP_E_BADVARTYPE) << bad;
    EXPECT_EQ(target.vt, VT_BSTR) << bad;
    EXPECT_EQ(VariantClear(&source), DISP_E_BADVARTYPE) << bad;
    EXPECT_EQ(source.vt, bad) << bad;
    VariantClear(&target);
  }
  EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
  EXPECT_EQ(VariantCopy(nullptr, nullptr), E_INVALIDARG);
}

TEST(ComVariantTest, CopyIndFollowsOneReferenceAndWorksInPlace) {
  LONG number = 42;
  VARIANT reference;
  reference.vt = VT_I4 | VT_BYREF;
  reference.plVal = &number;
  VARIANT copy;
  VariantInit(&copy);
  ASSERT_EQ(VariantCopyInd(&copy, &reference), S_OK);
  EXPECT_EQ(copy.vt, VT_I4);
  EXPECT_EQ(copy.lVal, 42);

  VARIANT inner = Text(u"inner");
  VARIANT outer;
  outer.vt = VT_VARIANT | VT_BYREF;
  outer.pvarVal = &inner;
  ASSERT_EQ(VariantCopyInd(&outer, &outer), S_OK);
  ASSERT_EQ(outer.vt, VT_BSTR);
  EXPECT_NE(outer.bstrVal, inner.bstrVal);
  EXPECT_EQ(std::u16string(outer.bstrVal), u"inner");
  VariantClear(&outer);
  VariantClear(&inner);

  VARIANT null_reference;
  null_reference.vt = VT_I4 | VT_BYREF;
  null_reference.plVal = nullptr;
  EXPECT_EQ(VariantCopyInd(&copy, &null_reference), E_INVALIDARG);
  EXPECT_EQ(copy.lVal, 42) << "a failed copy changed the destination";
}

TEST(ComVariantTest, ClearDestroysAnArrayUnlessItIsLocked) {
  VARIANT v;
  v.vt = VT_ARRAY | VT_BSTR;
  v.parray = SafeArrayCreateVector(VT_BSTR, 0, 2);
  LONG index = 1;
  BSTR element = SysAllocString(u"x");
  ASSERT_EQ(SafeArrayPutElement(v.parray, &index, element), S_OK);
  SysFreeString(element);  // the array holds its own copy, freed with it
  ASSERT_EQ(SafeArrayLock(v.parray), S_OK);
  EXPECT_EQ(VariantClear(&v), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(v.vt, VT_ARRAY | VT_BSTR);
  ASSERT_EQ(SafeArrayUnlock(v.parray), S_OK);
  EXPECT_EQ(VariantClear(&v), S_OK);
  EXPECT_EQ(v.vt, VT_EMPTY);
}

}  // namespace
