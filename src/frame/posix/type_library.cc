// The type information IDispatch serves, on the build without the platform's
// type libraries: the portable type information built from the IDL's tables.
#include "frame/type_library.h"

#include "frame/posix/type_info.h"

namespace vantrel::frame {

HRESULT LoadInterfaceTypeInfo(REFIID iid, ITypeInfo** out) {
  return CreatePortableTypeInfo(iid, out);
}

}  // namespace vantrel::frame
