// The calls into the library's objects that the portable type information
// makes: one thunk per member of each dual interface, generated from the IDL
// into vantrel_dispatch.cc.
#pragma once

#include "automation_runtime.h"
#include "vantrel_members.h"

namespace vantrel::idl {

// Calls one member. `instance` is the interface pointer; `args` holds the
// member's inputs (its parameters but the retval) in declaration order, each
// already of its parameter's type (Parameter::type; a VARIANT parameter takes
// the VARIANT as it is, an interface pointer is the answer to its
// QueryInterface). `result` is VT_EMPTY on entry; a member with a retval
// leaves it there, tagged with the retval's type, even when it fails, so the
// caller clears `result` on failure and owns it on success. Returns the
// member's own result.
using InvokeThunk = HRESULT (*)(void* instance, VARIANT* args, VARIANT* result);

// The thunks of `iface`, parallel to iface.members; nullptr for a
// dispinterface, for an interface without members and for an Interface that
// is not one of kLibrary's. Any thread.
const InvokeThunk* FindInvokeThunks(const Interface& iface);

}  // namespace vantrel::idl
