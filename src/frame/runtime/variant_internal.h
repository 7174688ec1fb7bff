// Helpers shared by the VARIANT and SAFEARRAY functions.
#pragma once

#include <cstddef>

#include "automation_runtime.h"

namespace vantrel::runtime {

// Whether `vt` may stand in a VARIANT: a base type with at most VT_ARRAY and
// VT_BYREF added; VT_EMPTY and VT_NULL only alone, VT_VARIANT only with a flag.
// Records are not supported and count as invalid.
bool IsValidVariantType(VARTYPE vt);

// Bytes of one value of base type `vt` as an array stores it or a VT_BYREF
// pointer points at it (VT_VARIANT: a whole VARIANT); 0 for types arrays and
// references do not support.
size_t ValueSize(VARTYPE vt);

// Makes `out` (whose contents are ignored) an independent copy of `source`:
// strings and arrays copied, interfaces with an added reference, references
// copied as the pointer. On failure `out` is VT_EMPTY.
HRESULT CopyVariantValue(VARIANT* out, const VARIANT& source);

// `view` becomes a shallow, non-owning view of the value `source` holds: the
// referenced value when it is VT_BYREF (through one VT_VARIANT reference), else
// `source` itself. E_INVALIDARG for a null reference or a reference chain.
HRESULT ViewValue(const VARIANT& source, VARIANT* view);

}  // namespace vantrel::runtime
