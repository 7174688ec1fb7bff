// The binary layout C clients rely on: structure sizes and offsets as the
// Windows x64 headers give them, interface table slots, and identifier bytes.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "automation_runtime.h"

namespace {

// Sizes and offsets measured from the Windows x64 SDK headers.
static_assert(sizeof(HRESULT) == 4 && sizeof(LONG) == 4 && sizeof(ULONG) == 4);
static_assert(sizeof(OLECHAR) == 2 && sizeof(VARIANT_BOOL) == 2 && sizeof(GUID) == 16);
static_assert(sizeof(VARIANT) == 24 && alignof(VARIANT) == 8);
static_assert(offsetof(VARIANT, lVal) == 8 && offsetof(VARIANT, pRecInfo) == 16);
static_assert(offsetof(VARIANT, decVal) == 0 && offsetof(DECIMAL, Hi32) == 4 &&
              offsetof(DECIMAL, Lo64) == 8 && sizeof(DECIMAL) == 16);
static_assert(sizeof(SAFEARRAY) == 32 && offsetof(SAFEARRAY, cLocks) == 8 &&
              offsetof(SAFEARRAY, pvData) == 16 && offsetof(SAFEARRAY, rgsabound) == 24);
static_assert(sizeof(DISPPARAMS) == 24 && offsetof(DISPPARAMS, cNamedArgs) == 20);
static_assert(sizeof(EXCEPINFO) == 64 && offsetof(EXCEPINFO, dwHelpContext) == 32 &&
              offsetof(EXCEPINFO, pfnDeferredFillIn) == 48 && offsetof(EXCEPINFO, scode) == 56);
static_assert(sizeof(TYPEDESC) == 16 && sizeof(ELEMDESC) == 32 && sizeof(PARAMDESCEX) == 32);
static_assert(sizeof(TYPEATTR) == 96 && offsetof(TYPEATTR, typekind) == 44 &&
              offsetof(TYPEATTR, wTypeFlags) == 58 && offsetof(TYPEATTR, idldescType) == 80);
static_assert(sizeof(FUNCDESC) == 88 && offsetof(FUNCDESC, cParams) == 36 &&
              offsetof(FUNCDESC, elemdescFunc) == 48 && offsetof(FUNCDESC, wFuncFlags) == 80);
static_assert(sizeof(VARDESC) == 64 && offsetof(VARDESC, varkind) == 60);
static_assert(sizeof(TLIBATTR) == 32 && offsetof(TLIBATTR, wLibFlags) == 28);

// The slot of a virtual function in its table (Itanium ABI: a pointer to a
// virtual member holds the slot's byte offset plus one).
template <class Member>
long SlotOf(Member member) {
  static_assert(sizeof(Member) == 2 * sizeof(long));
  long offset;
  std::memcpy(&offset, &member, sizeof offset);
  return (offset - 1) / static_cast<long>(sizeof(void*));
}

TEST(ComLayoutTest, InterfaceMethodsSitInTheirWindowsSlots) {
  EXPECT_EQ(SlotOf(&IUnknown::Release), 2);
  EXPECT_EQ(SlotOf(&IClassFactory::LockServer), 4);
  EXPECT_EQ(SlotOf(&IDispatch::Invoke), 6);
  EXPECT_EQ(SlotOf(&ITypeInfo::GetNames), 7);
  EXPECT_EQ(SlotOf(&ITypeInfo::Invoke), 11);
  EXPECT_EQ(SlotOf(&ITypeInfo::ReleaseVarDesc), 21);
  EXPECT_EQ(SlotOf(&ITypeLib::ReleaseTLibAttr), 12);
  EXPECT_EQ(SlotOf(&IErrorInfo::GetHelpContext), 7);
  EXPECT_EQ(SlotOf(&ICreateErrorInfo::SetDescription), 5);
  EXPECT_EQ(SlotOf(&IEnumVARIANT::Clone), 6);
  EXPECT_EQ(SlotOf(&IConnectionPoint::Unadvise), 6);
  EXPECT_EQ(SlotOf(&IConnectionPointContainer::FindConnectionPoint), 4);
  EXPECT_EQ(SlotOf(&IProvideClassInfo::GetClassInfo), 3);
}

std::u16string Text(const GUID& guid) {
  OLECHAR buffer[39];
  return StringFromGUID2(guid, buffer, 39) == 39 ? std::u16string(buffer) : u"";
}

TEST(ComLayoutTest, IdentifiersHaveTheirWellKnownValues) {
  EXPECT_EQ(Text(IID_IUnknown), u"{00000000-0000-0000-C000-000000000046}");
  EXPECT_EQ(Text(IID_IDispatch), u"{00020400-0000-0000-C000-000000000046}");
  EXPECT_EQ(Text(IID_IEnumVARIANT), u"{00020404-0000-0000-C000-000000000046}");
  EXPECT_EQ(Text(IID_IErrorInfo), u"{1CF2B120-547D-101B-8E65-08002B2BD119}");
  EXPECT_EQ(Text(IID_ISupportErrorInfo), u"{DF0B3D60-548F-101B-8E65-08002B2BD119}");
  EXPECT_EQ(Text(IID_IConnectionPointContainer), u"{B196B284-BAB4-101A-B69C-00AA00341D07}");
  EXPECT_EQ(Text(GUID_NULL), u"{00000000-0000-0000-0000-000000000000}");
  // Data1..Data3 are little-endian in memory; Data4 is bytes as written.
  const uint8_t* bytes = reinterpret_cast<const uint8_t*>(&IID_IErrorInfo);
  EXPECT_EQ(bytes[0], 0x20);
  EXPECT_EQ(bytes[4], 0x7D);
  EXPECT_EQ(bytes[8], 0x8E);
}

TEST(ComLayoutTest, Win32ErrorsBecomeResults) {
  EXPECT_EQ(HRESULT_FROM_WIN32(5), E_ACCESSDENIED);
  EXPECT_EQ(HRESULT_FROM_WIN32(0), S_OK);
  EXPECT_EQ(HRESULT_FROM_WIN32(static_cast<unsigned long>(E_FAIL) & 0xFFFFFFFFu), E_FAIL);
  EXPECT_EQ(MAKE_HRESULT(1, FACILITY_ITF, 0x200), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(HRESULT_CODE(E_INVALIDARG), 0x57);
  EXPECT_EQ(HRESULT_FACILITY(E_INVALIDARG), FACILITY_WIN32);
  EXPECT_TRUE(FAILED(DISP_E_EXCEPTION));
  EXPECT_TRUE(SUCCEEDED(S_FALSE));
}

TEST(ComGuidTextTest, FormatsOnlyIntoABufferWithRoomForTheNul) {
  OLECHAR buffer[40];
  std::fill(std::begin(buffer), std::end(buffer), u'#');
  EXPECT_EQ(StringFromGUID2(IID_IDispatch, buffer, 38), 0);
  EXPECT_EQ(buffer[0], u'#') << "a failed call wrote to the buffer";
  EXPECT_EQ(StringFromGUID2(IID_IDispatch, nullptr, 39), 0);
  EXPECT_EQ(StringFromGUID2(IID_IDispatch, buffer, 39), 39);
  EXPECT_EQ(buffer[38], 0);
  EXPECT_EQ(buffer[39], u'#');

  LPOLESTR text = nullptr;
  ASSERT_EQ(StringFromCLSID(IID_ITypeInfo, &text), S_OK);
  EXPECT_EQ(std::u16string(text), u"{00020401-0000-0000-C000-000000000046}");
  CoTaskMemFree(text);
}

TEST(ComGuidTextTest, ReadsEitherCaseAndRoundTrips) {
  CLSID clsid;
  ASSERT_EQ(CLSIDFromString(u"{1cf2b120-547d-101b-8E65-08002b2bd119}", &clsid), S_OK);
  EXPECT_EQ(clsid, IID_IErrorInfo);
  IID iid;
  ASSERT_EQ(IIDFromString(u"{B196B287-BAB4-101A-B69C-00AA00341D07}", &iid), S_OK);
  EXPECT_EQ(iid, IID_IEnumConnections);
  ASSERT_EQ(CLSIDFromString(nullptr, &clsid), S_OK);
  EXPECT_EQ(clsid, CLSID_NULL);
}

TEST(ComGuidTextTest, RejectsEveryOtherShape) {
  const char16_t* bad[] = {
      u"",
      u"00020400-0000-0000-C000-000000000046",     // no braces
      u"{00020400-0000-0000-C000-000000000046",    // no closing brace
      u"{00020400-0000-0000-C000-000000000046}x",  // trailing text
      u"{00020400-0000-0000-C000-00000000004}",    // one digit short
      u"{00020400-0000-0000-C000-00000000004G}",   // not hex
      u"{00020400+0000-0000-C000-000000000046}",   // wrong separator
      u"{0002040-00000-0000-C000-000000000046}",   // dash moved
      u"Vantrel.Kesto",                            // a class name is not read here
  };
  for (const char16_t* text : bad) {
    const std::string shown(text, text + std::char_traits<char16_t>::length(text));
    CLSID clsid = IID_IDispatch;
    EXPECT_EQ(CLSIDFromString(text, &clsid), CO_E_CLASSSTRING) << shown;
    EXPECT_EQ(clsid, CLSID_NULL) << shown;
    IID iid = IID_IDispatch;
    EXPECT_EQ(IIDFromString(text, &iid), E_INVALIDARG) << shown;
    EXPECT_EQ(iid, IID_IDispatch) << shown << ": a rejected text changed the output";
  }
}

}  // namespace
