// The records the portable type information hands out (TYPEATTR, FUNCDESC),
// built from the IDL's tables in the shape Windows gives the dispatch view of
// a dual interface: FUNC_DISPATCH functions whose retval has become the
// function's own type.
#pragma once

#include "automation_runtime.h"
#include "vantrel_members.h"

namespace vantrel::frame {

// A new TYPEATTR describing `iface` as TKIND_DISPATCH, with cFuncs = its own
// members. Free it with FreeTypeAttr. Throws std::bad_alloc. Any thread.
TYPEATTR* NewTypeAttr(const idl::Interface& iface);
void FreeTypeAttr(TYPEATTR* attr);

// A new FUNCDESC for `member` of `iface`: the inputs as parameters (with their
// PARAMFLAG_* flags), the retval's type as the function's type (VT_VOID when
// there is none; VT_HRESULT in a dispinterface, as widl describes events).
// Interface pointers read VT_DISPATCH or VT_UNKNOWN and enumerations VT_I4,
// since there is no type information to refer to for them. Free it with
// FreeFuncDesc. Throws std::bad_alloc. Any thread.
FUNCDESC* NewFuncDesc(const idl::Interface& iface, const idl::Member& member);
void FreeFuncDesc(FUNCDESC* desc);

// The number of parameters a dispatch caller passes to `member`: all but the
// retval.
size_t InputCount(const idl::Member& member);

}  // namespace vantrel::frame
