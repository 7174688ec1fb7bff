// Free-threaded enumerators over a copy: IEnumVARIANT for collections,
// IEnumConnectionPoints and IEnumConnections for event sources. The items are
// copied (with added references) when the enumerator is made, so later changes
// of the source do not show; clones share the copy and keep their own position.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "automation_runtime.h"

namespace vantrel::frame {

// Makes an enumerator over copies of `items` (VariantCopy of each). S_OK with
// one reference in *out; E_POINTER, E_OUTOFMEMORY, or the failure of a copy.
HRESULT CreateVariantEnumerator(const std::vector<VARIANT>& items, IEnumVARIANT** out);

// Over one or more connection points (each gets an added reference).
HRESULT CreateConnectionPointEnumerator(const std::vector<IConnectionPoint*>& points,
                                        IEnumConnectionPoints** out);

// Over copies of the connections (each sink gets an added reference).
HRESULT CreateConnectionEnumerator(const std::vector<CONNECTDATA>& connections,
                                   IEnumConnections** out);

}  // namespace vantrel::frame
