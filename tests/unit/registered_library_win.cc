#include "frame/registration.h"
#include "unit/frame_test_support.h"

namespace vantrel::testing {

RegisteredLibrary::RegisteredLibrary() { frame::RegisterServer(); }

RegisteredLibrary::~RegisteredLibrary() { frame::UnregisterServer(); }

}  // namespace vantrel::testing
