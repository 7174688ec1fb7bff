#include "frame/module.h"

#include "platform/library_folder.h"

namespace vantrel::frame {

const char kAppId[] = "{616BF1F1-5F85-46FD-9B2E-031CF04CEE72}";
const char kTypeLibId[] = "{A9F21314-6355-436C-8A69-CC83C81331CE}";

std::string CVantrelModule::ModulePath() const { return platform::LibraryPath(); }

CVantrelModule& Module() {
  // Static storage rather than the heap, so that unloading the library frees
  // it; its destructor is trivial (see the members).
  static CVantrelModule module;
  return module;
}

}  // namespace vantrel::frame
