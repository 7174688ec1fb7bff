#include "frame/posix/type_info.h"

#include <algorithm>
#include <deque>
#include <new>
#include <string_view>
#include <vector>

#include "frame/posix/member_invoke.h"
#include "frame/posix/type_records.h"
#include "platform/unicode.h"
#include "vantrel_members.h"

namespace vantrel::frame {
namespace {

char AsciiLower(char16_t c) {
  return c >= u'A' && c <= u'Z' ? static_cast<char>(c - u'A' + 'a') : static_cast<char>(c);
}

// Names compare as COM compares them: ignoring ASCII case.
bool SameName(const OLECHAR* given, const char* name) {
  for (; *given != 0 && *name != 0; ++given, ++name) {
    if (*given > 0x7F || AsciiLower(*given) != AsciiLower(static_cast<char16_t>(*name))) {
      return false;
    }
  }
  return *given == 0 && *name == 0;
}

// A new BSTR holding `text` (UTF-8); nullptr when memory runs out.
BSTR NewBstr(const char* text) {
  try {
    const std::u16string wide = platform::Utf8ToUtf16(text);
    return SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// The type information of one interface. Immutable, so free-threaded; it
// lives as long as the process, so it needs no reference count.
class PortableTypeInfo final : public ITypeInfo {
 public:
  explicit PortableTypeInfo(const idl::Interface& iface) : iface_(iface) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    if (out == nullptr) return E_POINTER;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_ITypeInfo)) {
      *out = static_cast<ITypeInfo*>(this);
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }

  STDMETHODIMP GetTypeAttr(TYPEATTR** out) override {
    if (out == nullptr) return E_INVALIDARG;
    return Guard([&] { *out = NewTypeAttr(iface_); });
  }
  STDMETHODIMP GetFuncDesc(UINT index, FUNCDESC** out) override {
    if (out == nullptr) return E_INVALIDARG;
    *out = nullptr;
    if (index >= iface_.members.size()) return TYPE_E_ELEMENTNOTFOUND;
    return Guard([&] { *out = NewFuncDesc(iface_, iface_.members[index]); });
  }
  STDMETHODIMP_(void) ReleaseTypeAttr(TYPEATTR* attr) override { FreeTypeAttr(attr); }
  STDMETHODIMP_(void) ReleaseFuncDesc(FUNCDESC* desc) override { FreeFuncDesc(desc); }
  STDMETHODIMP_(void) ReleaseVarDesc(VARDESC*) override {}

  STDMETHODIMP GetNames(MEMBERID memid, BSTR* names, UINT max_names, UINT* count) override;
  STDMETHODIMP GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) override;
  STDMETHODIMP GetDocumentation(MEMBERID memid, BSTR* name, BSTR* help, DWORD* help_context,
                                BSTR* help_file) override;
  STDMETHODIMP Invoke(PVOID instance, MEMBERID memid, WORD flags, DISPPARAMS* params,
                      VARIANT* result, EXCEPINFO* exception, UINT* arg_error) override {
    return InvokeMember(iface_, instance, memid, flags, params, result, exception, arg_error);
  }

  // Not needed by the scripting clients this serves.
  STDMETHODIMP GetTypeComp(ITypeComp**) override { return E_NOTIMPL; }
  STDMETHODIMP GetVarDesc(UINT, VARDESC**) override { return E_NOTIMPL; }
  STDMETHODIMP GetRefTypeOfImplType(UINT, HREFTYPE*) override { return E_NOTIMPL; }
  STDMETHODIMP GetImplTypeFlags(UINT, INT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetDllEntry(MEMBERID, INVOKEKIND, BSTR*, BSTR*, WORD*) override { return E_NOTIMPL; }
  STDMETHODIMP GetRefTypeInfo(HREFTYPE, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP AddressOfMember(MEMBERID, INVOKEKIND, PVOID*) override { return E_NOTIMPL; }
  STDMETHODIMP CreateInstance(IUnknown*, REFIID, PVOID*) override { return E_NOTIMPL; }
  STDMETHODIMP GetMops(MEMBERID, BSTR*) override { return E_NOTIMPL; }
  STDMETHODIMP GetContainingTypeLib(ITypeLib**, UINT*) override { return E_NOTIMPL; }

 private:
  template <class Body>
  static HRESULT Guard(Body body) {
    try {
      body();
      return S_OK;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }

  const idl::Member* FirstWithId(MEMBERID memid) const {
    for (const idl::Member& member : iface_.members) {
      if (member.dispid == memid) return &member;
    }
    return nullptr;
  }

  const idl::Member* FirstNamed(const OLECHAR* name) const {
    for (const idl::Member& member : iface_.members) {
      if (SameName(name, member.name)) return &member;
    }
    return nullptr;
  }

  // The 0-based position of the input `name` of any member with `memid`
  // (a getter and its setter share the DISPID); -1 when there is none.
  int ParameterPosition(MEMBERID memid, const OLECHAR* name) const {
    for (const idl::Member& member : iface_.members) {
      if (member.dispid != memid) continue;
      const size_t inputs = InputCount(member);
      for (size_t i = 0; i < inputs; ++i) {
        if (SameName(name, member.parameters[i].name)) return static_cast<int>(i);
      }
    }
    return -1;
  }

  const idl::Interface& iface_;
};

HRESULT PortableTypeInfo::GetNames(MEMBERID memid, BSTR* names, UINT max_names, UINT* count) {
  if (count == nullptr || (names == nullptr && max_names != 0)) return E_INVALIDARG;
  *count = 0;
  const idl::Member* member = FirstWithId(memid);
  if (member == nullptr) return TYPE_E_ELEMENTNOTFOUND;
  std::vector<const char*> all{member->name};
  for (size_t i = 0; i < InputCount(*member); ++i) all.push_back(member->parameters[i].name);
  const UINT wanted = std::min<UINT>(max_names, static_cast<UINT>(all.size()));
  for (UINT i = 0; i < wanted; ++i) {
    names[i] = NewBstr(all[i]);
    if (names[i] == nullptr) {
      for (UINT made = 0; made < i; ++made) SysFreeString(names[made]);
      return E_OUTOFMEMORY;
    }
  }
  *count = wanted;
  return S_OK;
}

HRESULT PortableTypeInfo::GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) {
  if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
  for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
  const idl::Member* member = names[0] == nullptr ? nullptr : FirstNamed(names[0]);
  if (member == nullptr) return DISP_E_UNKNOWNNAME;
  ids[0] = member->dispid;
  HRESULT hr = S_OK;
  for (UINT i = 1; i < count; ++i) {
    const int position = names[i] == nullptr ? -1 : ParameterPosition(member->dispid, names[i]);
    if (position < 0) {
      hr = DISP_E_UNKNOWNNAME;
    } else {
      ids[i] = position;
    }
  }
  return hr;
}

HRESULT PortableTypeInfo::GetDocumentation(MEMBERID memid, BSTR* name, BSTR* help,
                                           DWORD* help_context, BSTR* help_file) {
  const char* found_name = iface_.name;
  const char* found_help = iface_.help;
  if (memid != MEMBERID_NIL) {
    const idl::Member* member = FirstWithId(memid);
    if (member == nullptr) return TYPE_E_ELEMENTNOTFOUND;
    found_name = member->name;
    found_help = member->help;
  }
  BSTR new_name = name == nullptr ? nullptr : NewBstr(found_name);
  BSTR new_help = help == nullptr ? nullptr : NewBstr(found_help);
  if ((name != nullptr && new_name == nullptr) || (help != nullptr && new_help == nullptr)) {
    SysFreeString(new_name);
    SysFreeString(new_help);
    return E_OUTOFMEMORY;
  }
  if (name != nullptr) *name = new_name;
  if (help != nullptr) *help = new_help;
  if (help_context != nullptr) *help_context = 0;
  if (help_file != nullptr) *help_file = nullptr;
  return S_OK;
}

// One object per interface of the library, in kLibrary.interfaces order. Never
// destroyed, so that a call during the process's exit still finds it.
std::deque<PortableTypeInfo>& AllTypeInfos() {
  static auto* const all = [] {
    auto* made = new std::deque<PortableTypeInfo>();
    for (const idl::Interface& iface : idl::kLibrary.interfaces) made->emplace_back(iface);
    return made;
  }();
  return *all;
}

}  // namespace

HRESULT CreatePortableTypeInfo(REFIID iid, ITypeInfo** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  const idl::Interface* iface = idl::FindInterface(iid);
  if (iface == nullptr) return TYPE_E_ELEMENTNOTFOUND;
  const size_t index = static_cast<size_t>(iface - idl::kLibrary.interfaces.data());
  PortableTypeInfo& info = AllTypeInfos()[index];
  info.AddRef();
  *out = &info;
  return S_OK;
}

}  // namespace vantrel::frame
