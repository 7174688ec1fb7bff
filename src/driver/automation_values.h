// Small helpers for the members of the value classes: out-parameters, and
// reading another object through its interface.
#pragma once

#include "frame/automation.h"
#include "frame/error_texts.h"

namespace vantrel {

// The out-parameter of a getter: throws "Invalid argument" when it is null,
// else clears it to `cleared` so that a failure leaves no stale value.
template <class T>
void ClearOutput(T* out, T cleared) {
  if (out == nullptr) frame::Throw(frame::kInvalidArgument);
  *out = cleared;
}

// For code that reads or writes another object through its interface: throws
// OStdException naming `property` and the result when the call failed.
void CheckPropertyAccess(HRESULT result, const char* property);

}  // namespace vantrel
