// ITypeInfo::Invoke of the portable type information: binds a dispatch call's
// arguments to a member's parameters, coerces them and calls the member.
#pragma once

#include "automation_runtime.h"
#include "vantrel_members.h"

namespace vantrel::frame {

// Calls member `memid` of `iface` on `instance` (the interface pointer) as
// ITypeInfo::Invoke does on Windows:
// - the member is the first of that DISPID whose invoke kind is in `flags`
//   (DISPATCH_METHOD | DISPATCH_PROPERTYGET finds a method or a getter);
//   DISPID_NEWENUM asked as a method alone is served by its getter;
// - arguments arrive last-first; a named argument goes to the parameter at
//   its 0-based position, DISPID_PROPERTYPUT to a put's value; VT_BYREF
//   arguments are dereferenced and each is coerced to its parameter's type
//   with VariantChangeType (VARIANT parameters take the value as it is,
//   interface pointers are asked for their interface); a missing optional
//   VARIANT arrives as VT_ERROR / DISP_E_PARAMNOTFOUND;
// - the retval goes to *result when `result` is not null (which is overwritten
//   without being cleared), else it is freed.
// S_OK when the member succeeds. DISP_E_MEMBERNOTFOUND (unknown DISPID or
// kind), DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTOPTIONAL, DISP_E_PARAMNOTFOUND
// (a named argument that names no parameter; *arg_error = its index),
// DISP_E_TYPEMISMATCH or DISP_E_OVERFLOW (*arg_error = the argument's index
// in rgvarg), E_INVALIDARG for a null instance or malformed DISPPARAMS. When
// the member fails: with `exception`, DISP_E_EXCEPTION and *exception filled
// from the thread's error information (taken, so it is cleared) and scode =
// the failure; without, the failure itself. E_NOTIMPL for a dispinterface,
// whose members a client's sink implements. Blocks as long as the member
// does; any thread.
HRESULT InvokeMember(const idl::Interface& iface, void* instance, MEMBERID memid, WORD flags,
                     DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception, UINT* arg_error);

}  // namespace vantrel::frame
