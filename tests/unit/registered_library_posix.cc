#include "frame/registration.h"
#include "unit/frame_test_support.h"

namespace vantrel::testing {

RegisteredLibrary::RegisteredLibrary() {
  platform::SetSettingsStoreForTesting(&store_);
  frame::RegisterServer();
}

RegisteredLibrary::~RegisteredLibrary() {
  frame::UnregisterServer();
  platform::SetSettingsStoreForTesting(nullptr);
}

}  // namespace vantrel::testing
