#include "server/kesto.h"

#include <string>

#include "driver/automation_values.h"
#include "frame/class_table.h"
#include "frame/ole_string.h"
#include "platform/library_version.h"
#include "support/event_log.h"

namespace vantrel {
namespace {

// A missing text is a null string, which clients read as empty.
BSTR VersionText(const char* key) {
  const std::string text = platform::LibraryVersionText(key);
  return text.empty() ? nullptr : frame::AllocBstr(text);
}

}  // namespace

HRESULT Kesto::FinalConstruct() {
  return Member("Kesto::FinalConstruct", [] { OEventLog::Process(); });
}

STDMETHODIMP Kesto::get_Version(BSTR* retVersion) {
  return Member("Kesto::get_Version", [&] {
    ClearOutput<BSTR>(retVersion, nullptr);
    *retVersion = VersionText("ProductVersion");
  });
}

STDMETHODIMP Kesto::get_Platform(BSTR* retPlatform) {
  return Member("Kesto::get_Platform", [&] {
    ClearOutput<BSTR>(retPlatform, nullptr);
    *retPlatform = VersionText("Platform");
  });
}

VANTREL_CLASS_CREATOR(Kesto)

}  // namespace vantrel
