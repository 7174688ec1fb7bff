#include "frame/object.h"

#include <cstdio>
#include <string_view>

#include "frame/com_ptr.h"

namespace vantrel::frame {

HRESULT TypeInfoAt(REFIID iid, UINT index, ITypeInfo** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (index != 0) return DISP_E_BADINDEX;
  return LoadInterfaceTypeInfo(iid, out);
}

HRESULT NamesThroughTypeInfo(REFIID iid, LPOLESTR* names, UINT count, DISPID* ids) {
  ComPtr<ITypeInfo> info;
  const HRESULT hr = LoadInterfaceTypeInfo(iid, info.Receive());
  if (FAILED(hr)) return hr;
  return info->GetIDsOfNames(names, count, ids);
}

HRESULT InvokeThroughTypeInfo(REFIID iid, void* instance, DISPID member, REFIID riid, WORD flags,
                              DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                              UINT* argument_error) {
  if (!IsEqualIID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
  ComPtr<ITypeInfo> info;
  const HRESULT hr = LoadInterfaceTypeInfo(iid, info.Receive());
  if (FAILED(hr)) return hr;
  // Some script engines ask for the enumerator as a method call only.
  if (member == DISPID_NEWENUM && (flags & DISPATCH_METHOD) != 0) flags |= DISPATCH_PROPERTYGET;
  return info->Invoke(instance, member, flags, params, result, exception, argument_error);
}

bool IsInitializeMember(const char* member) {
  const std::string_view name(member);
  const std::string_view suffix = "::Initialize";
  return name.size() >= suffix.size() && name.substr(name.size() - suffix.size()) == suffix;
}

void ThrowCreationFailure(HRESULT hr) {
  char text[64];
  std::snprintf(text, sizeof text, "could not create an object: error 0x%08X",
                static_cast<unsigned>(hr));
  throw OStdException(text);
}

}  // namespace vantrel::frame
