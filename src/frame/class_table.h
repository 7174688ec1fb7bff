// The class table: every class the library creates, in the order it registers
// them and searches them on creation.
#pragma once

#include <span>

#include "automation_runtime.h"

namespace vantrel::frame {

using CreateFunction = HRESULT (*)(IUnknown* outer, REFIID iid, void** out);

struct ClassEntry {
  const CLSID* clsid;          // what creation matches
  const char* registry_clsid;  // written by registration when it differs, else null
  const char* display_name;
  const char* progid;
  const char* version_independent_progid;
  int script;  // the number of the registration script
  CreateFunction create;
};

std::span<const ClassEntry> ClassTable();

// The row whose CLSID equals `clsid` (exact 16-byte compare, table order), or
// null. Any thread.
const ClassEntry* FindClass(REFCLSID clsid);

}  // namespace vantrel::frame

// Each class's .cc defines its creator with VANTREL_CLASS_CREATOR(Class).
#define VANTREL_CLASS_CREATOR(Class)                                 \
  HRESULT Create##Class(IUnknown* outer, REFIID iid, void** out) {   \
    return ::vantrel::frame::CreateInstance<Class>(outer, iid, out); \
  }
