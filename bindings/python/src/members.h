// What the type information says about an object's interface, read once per
// interface and kept for the life of the process.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "automation_runtime.h"

namespace vantrel::python {

struct ParameterInfo {
  std::string name;
  bool optional = false;
  VARTYPE type = VT_EMPTY;
};

struct MemberInfo {
  std::string name;
  DISPID dispid = DISPID_UNKNOWN;
  INVOKEKIND kind = INVOKE_FUNC;
  VARTYPE result_type = VT_EMPTY;  // VT_VOID or VT_EMPTY when there is none
  WORD flags = 0;                  // FUNCFLAG_*
  std::string help;
  std::vector<ParameterInfo> parameters;  // the inputs, in declaration order
};

struct InterfaceInfo {
  std::string name;  // "IPrinter"
  std::string iid;   // "{82A3C122-...}"
  std::string help;
  std::vector<MemberInfo> members;  // in type-information order
};

// The interface of `object` as its type information describes it. Null when
// the object has none (GetTypeInfoCount 0 or a failing GetTypeInfo): such an
// object is reached by name through GetIDsOfNames only. Calls into the
// library: call it without the interpreter lock. Any thread.
std::shared_ptr<const InterfaceInfo> DescribeInterface(IDispatch* object);

// Case-insensitive comparison of ASCII member and parameter names, as the
// automation runtime matches them.
bool SameName(const std::string& a, const std::string& b);

// UTF-8 of a UTF-16 text; unpaired surrogates become U+FFFD.
std::string Utf8(const OLECHAR* text, size_t length);

}  // namespace vantrel::python
