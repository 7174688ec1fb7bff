#include "members.h"
#include "platform/thread_annotations.h"

#include <map>
#include <mutex>

namespace vantrel::python {
namespace {

std::string TakeUtf8(BSTR& text) {
  std::string copy = text ? Utf8(text, SysStringLen(text)) : std::string();
  SysFreeString(text);
  text = nullptr;
  return copy;
}

std::string GuidText(const GUID& guid) {
  OLECHAR text[40] = {};
  return StringFromGUID2(guid, text, 40) ? Utf8(text, 38) : std::string();
}

// Name, parameter names and help string of one function.
void DescribeNames(ITypeInfo* type, const FUNCDESC& desc, MemberInfo& member) {
  std::vector<BSTR> names(static_cast<size_t>(desc.cParams) + 1, nullptr);
  UINT count = 0;
  if (SUCCEEDED(
          type->GetNames(desc.memid, names.data(), static_cast<UINT>(names.size()), &count))) {
    for (UINT i = 0; i < count; ++i) {
      std::string name = TakeUtf8(names[i]);
      if (i == 0) {
        member.name = name;
      } else if (i - 1 < member.parameters.size()) {
        member.parameters[i - 1].name = name;
      }
    }
  }
  BSTR help = nullptr;
  if (SUCCEEDED(type->GetDocumentation(desc.memid, nullptr, &help, nullptr, nullptr)))
    member.help = TakeUtf8(help);
}

MemberInfo DescribeFunction(ITypeInfo* type, const FUNCDESC& desc) {
  MemberInfo member;
  member.dispid = desc.memid;
  member.kind = desc.invkind;
  member.result_type = desc.elemdescFunc.tdesc.vt;
  member.flags = desc.wFuncFlags;
  for (SHORT i = 0; i < desc.cParams; ++i) {
    const ELEMDESC& param = desc.lprgelemdescParam[i];
    ParameterInfo info;
    info.optional = (param.paramdesc.wParamFlags & (PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT)) != 0;
    info.type = param.tdesc.vt;
    member.parameters.push_back(info);
  }
  DescribeNames(type, desc, member);
  return member;
}

std::shared_ptr<InterfaceInfo> ReadInterface(ITypeInfo* type) {
  TYPEATTR* attr = nullptr;
  if (FAILED(type->GetTypeAttr(&attr))) return nullptr;
  auto info = std::make_shared<InterfaceInfo>();
  info->iid = GuidText(attr->guid);
  const WORD functions = attr->cFuncs;
  type->ReleaseTypeAttr(attr);
  BSTR name = nullptr, help = nullptr;
  if (SUCCEEDED(type->GetDocumentation(MEMBERID_NIL, &name, &help, nullptr, nullptr))) {
    info->name = TakeUtf8(name);
    info->help = TakeUtf8(help);
  }
  for (WORD i = 0; i < functions; ++i) {
    FUNCDESC* desc = nullptr;
    if (FAILED(type->GetFuncDesc(i, &desc))) continue;
    info->members.push_back(DescribeFunction(type, *desc));
    type->ReleaseFuncDesc(desc);
  }
  return info;
}

Mutex cache_lock;
// Keyed by IID text; entries are never removed (one per interface of the
// library, so the map stays small).
std::map<std::string, std::shared_ptr<const InterfaceInfo>>& Cache() REQUIRES(cache_lock) {
  static auto* cache = new std::map<std::string, std::shared_ptr<const InterfaceInfo>>();
  return *cache;
}

std::string IidOf(ITypeInfo* type) {
  TYPEATTR* attr = nullptr;
  if (FAILED(type->GetTypeAttr(&attr))) return {};
  std::string iid = GuidText(attr->guid);
  type->ReleaseTypeAttr(attr);
  return iid;
}

}  // namespace

std::shared_ptr<const InterfaceInfo> DescribeInterface(IDispatch* object) {
  UINT count = 0;
  if (FAILED(object->GetTypeInfoCount(&count)) || count == 0) return nullptr;
  ITypeInfo* type = nullptr;
  if (FAILED(object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &type)) || type == nullptr) return nullptr;
  const std::string iid = IidOf(type);
  {
    MutexLock hold(cache_lock);
    auto found = Cache().find(iid);
    if (found != Cache().end()) {
      type->Release();
      return found->second;
    }
  }
  // Read outside the lock: the type information is the library's and may take
  // its own locks. Two threads reading at once both succeed; the first kept wins.
  std::shared_ptr<const InterfaceInfo> info = ReadInterface(type);
  type->Release();
  if (!info) return nullptr;
  MutexLock hold(cache_lock);
  return Cache().emplace(iid, info).first->second;
}

bool SameName(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
    if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
    if (x != y) return false;
  }
  return true;
}

std::string Utf8(const OLECHAR* text, size_t length) {
  std::string out;
  out.reserve(length);
  for (size_t i = 0; i < length; ++i) {
    uint32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < length && text[i + 1] >= 0xDC00 &&
        text[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;
    }
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

}  // namespace vantrel::python
