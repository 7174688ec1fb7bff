// The type library embedded in this program (resource TYPELIB 1, compiled by
// widl) and the tables idlgen writes from the same IDL describe the same
// interfaces, members, parameters and classes.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "automation_runtime.h"
#include "frame/com_ptr.h"
#include "platform/unicode.h"
#include "vantrel.h"
#include "vantrel_members.h"

namespace vantrel::frame {
namespace {

std::wstring Wide(const char* text) {
  const std::u16string wide = platform::Utf8ToUtf16(text == nullptr ? "" : text);
  return std::wstring(wide.begin(), wide.end());
}

std::wstring Take(BSTR text) {
  std::wstring result = text == nullptr ? L"" : std::wstring(text, SysStringLen(text));
  SysFreeString(text);
  return result;
}

ITypeLib* OwnTypeLibrary() {
  static ITypeLib* library = [] {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    ITypeLib* loaded = nullptr;
    EXPECT_EQ(LoadTypeLibEx(path, REGKIND_NONE, &loaded), S_OK) << "no TYPELIB resource";
    return loaded;
  }();
  return library;
}

// Name and help string of a type (MEMBERID_NIL) or of a member.
std::pair<std::wstring, std::wstring> Documentation(ITypeInfo* info, MEMBERID memid) {
  BSTR name = nullptr, help = nullptr;
  EXPECT_EQ(info->GetDocumentation(memid, &name, &help, nullptr, nullptr), S_OK);
  return {Take(name), Take(help)};
}

// A type description as the tables write it: a pointer becomes VT_BYREF, a
// SAFEARRAY VT_ARRAY, an interface pointer VT_DISPATCH or VT_UNKNOWN with the
// interface's name, an enumeration VT_I4 with its name.
struct FlatType {
  VARTYPE type = VT_EMPTY;
  std::wstring name;
};

FlatType Flatten(const TYPEDESC& desc, ITypeInfo* context) {
  switch (desc.vt) {
    case VT_PTR: {
      FlatType inner = Flatten(*desc.lptdesc, context);
      const bool interface_pointer = desc.lptdesc->vt == VT_USERDEFINED &&
                                     (inner.type == VT_DISPATCH || inner.type == VT_UNKNOWN);
      if (!interface_pointer) inner.type |= VT_BYREF;
      return inner;
    }
    case VT_SAFEARRAY:
      return {static_cast<VARTYPE>(VT_ARRAY | Flatten(*desc.lptdesc, context).type), L""};
    case VT_USERDEFINED: {
      ComPtr<ITypeInfo> referenced;
      EXPECT_EQ(context->GetRefTypeInfo(desc.hreftype, referenced.Receive()), S_OK);
      if (!referenced) return {};
      TYPEATTR* attr = nullptr;
      referenced->GetTypeAttr(&attr);
      VARTYPE type = VT_UNKNOWN;
      if (attr->typekind == TKIND_ENUM) {
        type = VT_I4;
      } else if ((attr->wTypeFlags & TYPEFLAG_FDISPATCHABLE) != 0) {
        type = VT_DISPATCH;
      }
      referenced->ReleaseTypeAttr(attr);
      return {type, Documentation(referenced.Get(), MEMBERID_NIL).first};
    }
    case VT_UNKNOWN:
      return {VT_UNKNOWN, L"IUnknown"};
    case VT_DISPATCH:
      return {VT_DISPATCH, L"IDispatch"};
    default:
      return {desc.vt, L""};
  }
}

// The view whose functions carry every parameter and their vtable offsets:
// the interface itself for a dual one, the dispinterface otherwise.
ComPtr<ITypeInfo> FullView(ITypeInfo* info, bool dual) {
  if (!dual) return ComPtr<ITypeInfo>(info);
  HREFTYPE vtable = 0;
  ComPtr<ITypeInfo> view;
  EXPECT_EQ(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &vtable), S_OK);
  EXPECT_EQ(info->GetRefTypeInfo(vtable, view.Receive()), S_OK);
  return view;
}

void ExpectSameParameters(ITypeInfo* view, const FUNCDESC& desc, const idl::Member& member,
                          bool names_known) {
  ASSERT_EQ(static_cast<size_t>(desc.cParams), member.parameters.size());
  BSTR names[32] = {};
  UINT count = 0;
  ASSERT_EQ(view->GetNames(desc.memid, names, 32, &count), S_OK);
  ASSERT_GE(count, 1u);
  EXPECT_EQ(Take(names[0]), Wide(member.name));
  for (UINT i = 1; i < count; ++i) {
    const std::wstring name = Take(names[i]);
    if (names_known) {
      EXPECT_EQ(name, Wide(member.parameters[i - 1].name));
    }
  }
  for (size_t i = 0; i < member.parameters.size(); ++i) {
    const idl::Parameter& parameter = member.parameters[i];
    SCOPED_TRACE(parameter.name);
    const FlatType type = Flatten(desc.lprgelemdescParam[i].tdesc, view);
    EXPECT_EQ(type.type, parameter.type);
    EXPECT_EQ(type.name, Wide(parameter.type_name));
    EXPECT_EQ(desc.lprgelemdescParam[i].paramdesc.wParamFlags, parameter.flags);
  }
}

void ExpectSameMembers(ITypeInfo* info, const idl::Interface& iface) {
  ComPtr<ITypeInfo> view = FullView(info, iface.dual);
  ASSERT_TRUE(view);
  TYPEATTR* attr = nullptr;
  ASSERT_EQ(view->GetTypeAttr(&attr), S_OK);
  const WORD functions = attr->cFuncs;
  view->ReleaseTypeAttr(attr);
  ASSERT_EQ(functions, iface.members.size());
  for (WORD i = 0; i < functions; ++i) {
    const idl::Member& member = iface.members[i];
    SCOPED_TRACE(member.name);
    FUNCDESC* desc = nullptr;
    ASSERT_EQ(view->GetFuncDesc(i, &desc), S_OK);
    EXPECT_EQ(desc->memid, member.dispid);
    EXPECT_EQ(desc->invkind, member.kind);
    EXPECT_EQ(desc->wFuncFlags, member.flags);
    if (iface.dual) {
      EXPECT_EQ(desc->oVft, member.vtable_slot * static_cast<int>(sizeof(void*)));
    }
    const auto [name, help] = Documentation(view.Get(), member.dispid);
    // GetNames and GetDocumentation find a setter's DISPID at its getter.
    const bool first_of_dispid = i == 0 || iface.members[i - 1].dispid != member.dispid;
    if (first_of_dispid) {
      EXPECT_EQ(help, Wide(member.help));
    }
    ExpectSameParameters(view.Get(), *desc, member, first_of_dispid);
    view->ReleaseFuncDesc(desc);
  }
}

TEST(TypeLibraryTest, TheLibraryIsTheTablesLibrary) {
  ITypeLib* library = OwnTypeLibrary();
  ASSERT_NE(library, nullptr);
  TLIBATTR* attr = nullptr;
  ASSERT_EQ(library->GetLibAttr(&attr), S_OK);
  EXPECT_TRUE(IsEqualGUID(attr->guid, *idl::kLibrary.libid));
  EXPECT_EQ(attr->wMajorVerNum, idl::kLibrary.major_version);
  EXPECT_EQ(attr->wMinorVerNum, idl::kLibrary.minor_version);
  library->ReleaseTLibAttr(attr);
  BSTR name = nullptr, help = nullptr;
  ASSERT_EQ(library->GetDocumentation(-1, &name, &help, nullptr, nullptr), S_OK);
  EXPECT_EQ(Take(name), Wide(idl::kLibrary.name));
  EXPECT_EQ(Take(help), Wide(idl::kLibrary.help));
}

TEST(TypeLibraryTest, EveryInterfaceHasTheTablesMembersAndParameters) {
  ITypeLib* library = OwnTypeLibrary();
  ASSERT_NE(library, nullptr);
  for (const idl::Interface& iface : idl::kLibrary.interfaces) {
    SCOPED_TRACE(iface.name);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(library->GetTypeInfoOfGuid(*iface.iid, info.Receive()), S_OK);
    TYPEATTR* attr = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attr), S_OK);
    EXPECT_EQ(attr->typekind, TKIND_DISPATCH);
    EXPECT_EQ((attr->wTypeFlags & TYPEFLAG_FDUAL) != 0, iface.dual);
    info->ReleaseTypeAttr(attr);
    const auto [name, help] = Documentation(info.Get(), MEMBERID_NIL);
    EXPECT_EQ(name, Wide(iface.name));
    EXPECT_EQ(help, Wide(iface.help));
    ExpectSameMembers(info.Get(), iface);
  }
}

TEST(TypeLibraryTest, EveryCoclassHasTheTablesInterfacesAndCreatability) {
  ITypeLib* library = OwnTypeLibrary();
  ASSERT_NE(library, nullptr);
  for (const idl::Coclass& coclass : idl::kLibrary.coclasses) {
    SCOPED_TRACE(coclass.name);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(library->GetTypeInfoOfGuid(*coclass.clsid, info.Receive()), S_OK);
    const auto [name, help] = Documentation(info.Get(), MEMBERID_NIL);
    EXPECT_EQ(name, Wide(coclass.name));
    EXPECT_EQ(help, Wide(coclass.help));
    TYPEATTR* attr = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attr), S_OK);
    EXPECT_EQ(attr->typekind, TKIND_COCLASS);
    EXPECT_EQ((attr->wTypeFlags & TYPEFLAG_FCANCREATE) != 0, coclass.creatable);
    const WORD implemented = attr->cImplTypes;
    info->ReleaseTypeAttr(attr);
    const IID* default_interface = nullptr;
    const IID* source_interface = nullptr;
    for (WORD i = 0; i < implemented; ++i) {
      INT flags = 0;
      HREFTYPE reference = 0;
      ComPtr<ITypeInfo> implementation;
      ASSERT_EQ(info->GetImplTypeFlags(i, &flags), S_OK);
      ASSERT_EQ(info->GetRefTypeOfImplType(i, &reference), S_OK);
      ASSERT_EQ(info->GetRefTypeInfo(reference, implementation.Receive()), S_OK);
      TYPEATTR* implemented_attr = nullptr;
      implementation->GetTypeAttr(&implemented_attr);
      const idl::Interface* iface = idl::FindInterface(implemented_attr->guid);
      implementation->ReleaseTypeAttr(implemented_attr);
      ASSERT_NE(iface, nullptr);
      if ((flags & IMPLTYPEFLAG_FSOURCE) != 0) {
        source_interface = iface->iid;
      } else if ((flags & IMPLTYPEFLAG_FDEFAULT) != 0) {
        default_interface = iface->iid;
      }
    }
    EXPECT_EQ(default_interface,
              coclass.default_interface ? coclass.default_interface->iid : nullptr);
    EXPECT_EQ(source_interface, coclass.source_interface ? coclass.source_interface->iid : nullptr);
  }
}

// Nothing the type library describes is missing from the tables.
TEST(TypeLibraryTest, TheTablesListEveryInterfaceAndCoclass) {
  ITypeLib* library = OwnTypeLibrary();
  ASSERT_NE(library, nullptr);
  size_t interfaces = 0, coclasses = 0;
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    TYPEKIND kind = TKIND_MAX;
    ASSERT_EQ(library->GetTypeInfoType(i, &kind), S_OK);
    if (kind == TKIND_DISPATCH) ++interfaces;
    if (kind == TKIND_COCLASS) ++coclasses;
  }
  EXPECT_EQ(interfaces, idl::kLibrary.interfaces.size());
  EXPECT_EQ(coclasses, idl::kLibrary.coclasses.size());
}

}  // namespace
}  // namespace vantrel::frame
