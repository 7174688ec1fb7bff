// SAFEARRAY: bounds and element order, ownership of strings, variants and
// interfaces held in arrays, locking, and deep copies.
#include <gtest/gtest.h>

#include <string>

#include "automation_runtime.h"
#include "fakes/counting_dispatch.h"

namespace {

using vantrel::testing::CountingDispatch;

TEST(ComSafeArrayTest, VectorBoundsAndIndexChecks) {
  SAFEARRAY* bytes = SafeArrayCreateVector(VT_UI1, -2, 5);
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(SafeArrayGetDim(bytes), 1u);
  EXPECT_EQ(SafeArrayGetElemsize(bytes), 1u);
  VARTYPE vt = VT_EMPTY;
  ASSERT_EQ(SafeArrayGetVartype(bytes, &vt), S_OK);
  EXPECT_EQ(vt, VT_UI1);
  LONG lower = 99, upper = 99;
  ASSERT_EQ(SafeArrayGetLBound(bytes, 1, &lower), S_OK);
  ASSERT_EQ(SafeArrayGetUBound(bytes, 1, &upper), S_OK);
  EXPECT_EQ(lower, -2);
  EXPECT_EQ(upper, 2);
  LONG untouched = 99;
  EXPECT_EQ(SafeArrayGetLBound(bytes, 0, &untouched), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayGetUBound(bytes, 2, &untouched), DISP_E_BADINDEX);
  EXPECT_EQ(untouched, 99);

  BYTE value = 0xAB;
  for (LONG index : {-2L, 2L}) EXPECT_EQ(SafeArrayPutElement(bytes, &index, &value), S_OK);
  for (LONG index : {-3L, 3L}) {
    EXPECT_EQ(SafeArrayPutElement(bytes, &index, &value), DISP_E_BADINDEX) << index;
    EXPECT_EQ(SafeArrayGetElement(bytes, &index, &value), DISP_E_BADINDEX) << index;
  }
  BYTE* data = nullptr;
  ASSERT_EQ(SafeArrayAccessData(bytes, reinterpret_cast<void**>(&data)), S_OK);
  EXPECT_EQ(data[0], 0xAB);
  EXPECT_EQ(data[1], 0) << "elements start zeroed";
  EXPECT_EQ(data[4], 0xAB);
  ASSERT_EQ(SafeArrayUnaccessData(bytes), S_OK);
  EXPECT_EQ(SafeArrayDestroy(bytes), S_OK);
}

TEST(ComSafeArrayTest, LeftmostIndexVariesFastest) {
  SAFEARRAYBOUND bounds[2] = {{2, 0}, {3, 10}};  // a(0..1, 10..12)
  SAFEARRAY* grid = SafeArrayCreate(VT_I4, 2, bounds);
  ASSERT_NE(grid, nullptr);
  EXPECT_EQ(grid->rgsabound[0].lLbound, 10) << "bounds are stored last-first";
  LONG upper = 0;
  ASSERT_EQ(SafeArrayGetUBound(grid, 2, &upper), S_OK);
  EXPECT_EQ(upper, 12);
  LONG at[2] = {1, 10};
  LONG value = 7;
  ASSERT_EQ(SafeArrayPutElement(grid, at, &value), S_OK);
  at[0] = 0;
  at[1] = 11;
  value = 8;
  ASSERT_EQ(SafeArrayPutElement(grid, at, &value), S_OK);
  at[0] = 2;
  EXPECT_EQ(SafeArrayPutElement(grid, at, &value), DISP_E_BADINDEX);
  const LONG* data = static_cast<const LONG*>(grid->pvData);
  EXPECT_EQ(data[1], 7);
  EXPECT_EQ(data[2], 8);
  SafeArrayDestroy(grid);
}

TEST(ComSafeArrayTest, StringElementsAreCopiedInAndOut) {
  SAFEARRAY* texts = SafeArrayCreateVector(VT_BSTR, 0, 2);
  ASSERT_NE(texts, nullptr);
  BSTR mine = SysAllocString(u"label");
  LONG index = 1;
  ASSERT_EQ(SafeArrayPutElement(texts, &index, mine), S_OK);
  ASSERT_EQ(SafeArrayPutElement(texts, &index, mine), S_OK);  // the first copy is freed
  BSTR stored = static_cast<BSTR*>(texts->pvData)[1];
  EXPECT_NE(stored, mine);
  SysFreeString(mine);
  BSTR out = nullptr;
  ASSERT_EQ(SafeArrayGetElement(texts, &index, &out), S_OK);
  EXPECT_NE(out, stored);
  EXPECT_EQ(std::u16string(out), u"label");
  SysFreeString(out);
  index = 0;
  ASSERT_EQ(SafeArrayGetElement(texts, &index, &out), S_OK);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(SafeArrayDestroy(texts), S_OK);
}

TEST(ComSafeArrayTest, ArraysHoldTheirOwnReferences) {
  CountingDispatch first, second;
  SAFEARRAY* objects = SafeArrayCreateVector(VT_DISPATCH, 0, 1);
  ASSERT_NE(objects, nullptr);
  VARTYPE vt = VT_EMPTY;
  ASSERT_EQ(SafeArrayGetVartype(objects, &vt), S_OK);
  EXPECT_EQ(vt, VT_DISPATCH);
  LONG index = 0;
  ASSERT_EQ(SafeArrayPutElement(objects, &index, static_cast<IDispatch*>(&first)), S_OK);
  EXPECT_EQ(first.references(), 2u);
  ASSERT_EQ(SafeArrayPutElement(objects, &index, static_cast<IDispatch*>(&second)), S_OK);
  EXPECT_EQ(first.references(), 1u) << "the replaced element was not released";
  IDispatch* out = nullptr;
  ASSERT_EQ(SafeArrayGetElement(objects, &index, &out), S_OK);
  EXPECT_EQ(out, &second);
  EXPECT_EQ(second.references(), 3u);
  out->Release();

  SAFEARRAY* copy = nullptr;
  ASSERT_EQ(SafeArrayCopy(objects, &copy), S_OK);
  EXPECT_EQ(second.references(), 3u);
  EXPECT_EQ(SafeArrayDestroy(objects), S_OK);
  EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
  EXPECT_EQ(second.references(), 1u);
}

TEST(ComSafeArrayTest, VariantElementsAreCopiedAndCleared) {
  CountingDispatch object;
  SAFEARRAY* values = SafeArrayCreateVector(VT_VARIANT, 1, 2);
  ASSERT_NE(values, nullptr);
  VARIANT in;
  in.vt = VT_DISPATCH;
  in.pdispVal = &object;
  LONG index = 1;
  ASSERT_EQ(SafeArrayPutElement(values, &index, &in), S_OK);
  in.vt = VT_BSTR;
  in.bstrVal = SysAllocString(u"two");
  index = 2;
  ASSERT_EQ(SafeArrayPutElement(values, &index, &in), S_OK);
  VariantClear(&in);
  EXPECT_EQ(object.references(), 2u);

  SAFEARRAY* copy = nullptr;
  ASSERT_EQ(SafeArrayCopy(values, &copy), S_OK);
  EXPECT_EQ(object.references(), 3u);
  VARIANT out;
  ASSERT_EQ(SafeArrayGetElement(copy, &index, &out), S_OK);
  ASSERT_EQ(out.vt, VT_BSTR);
  EXPECT_NE(out.bstrVal, static_cast<VARIANT*>(values->pvData)[1].bstrVal);
  EXPECT_EQ(std::u16string(out.bstrVal), u"two");
  VariantClear(&out);
  LONG lower = 0;
  ASSERT_EQ(SafeArrayGetLBound(copy, 1, &lower), S_OK);
  EXPECT_EQ(lower, 1);
  SafeArrayDestroy(copy);
  SafeArrayDestroy(values);
  EXPECT_EQ(object.references(), 1u);
}

TEST(ComSafeArrayTest, LockedArraysCannotBeDestroyed) {
  SAFEARRAY* numbers = SafeArrayCreateVector(VT_I4, 0, 3);
  ASSERT_NE(numbers, nullptr);
  void* data = nullptr;
  ASSERT_EQ(SafeArrayAccessData(numbers, &data), S_OK);
  EXPECT_EQ(data, numbers->pvData);
  EXPECT_EQ(SafeArrayDestroy(numbers), DISP_E_ARRAYISLOCKED);
  ASSERT_EQ(SafeArrayUnaccessData(numbers), S_OK);
  EXPECT_EQ(SafeArrayUnlock(numbers), E_UNEXPECTED);
  EXPECT_EQ(SafeArrayDestroy(numbers), S_OK);
}

TEST(ComSafeArrayTest, RefusesWhatItCannotHold) {
  SAFEARRAYBOUND bound{1, 0};
  EXPECT_EQ(SafeArrayCreate(VT_EMPTY, 1, &bound), nullptr);
  EXPECT_EQ(SafeArrayCreate(VT_I4, 0, &bound), nullptr);
  EXPECT_EQ(SafeArrayCreate(VT_I4, 1, nullptr), nullptr);
  SAFEARRAYBOUND huge[2] = {{0xFFFFFFFF, 0}, {0xFFFFFFFF, 0}};
  EXPECT_EQ(SafeArrayCreate(VT_VARIANT, 2, huge), nullptr);

  SAFEARRAY* copy = reinterpret_cast<SAFEARRAY*>(&bound);
  EXPECT_EQ(SafeArrayCopy(nullptr, &copy), S_OK);
  EXPECT_EQ(copy, nullptr);
  EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
  EXPECT_EQ(SafeArrayGetDim(nullptr), 0u);

  SAFEARRAY* empty = SafeArrayCreateVector(VT_BSTR, 0, 0);
  ASSERT_NE(empty, nullptr);
  LONG upper = 0;
  ASSERT_EQ(SafeArrayGetUBound(empty, 1, &upper), S_OK);
  EXPECT_EQ(upper, -1);
  LONG index = 0;
  BSTR out = nullptr;
  EXPECT_EQ(SafeArrayGetElement(empty, &index, &out), DISP_E_BADINDEX);
  SafeArrayDestroy(empty);
}

}  // namespace
