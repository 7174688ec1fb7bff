// Registration of the library as an in-process server: the application
// identifier, every class of the class table, and the type library. Windows
// writes the registry; Linux writes the settings store, where creation by
// ProgID reads the keys back.
#pragma once

#include <string>

#include "automation_runtime.h"
#include "platform/settings_store.h"

namespace vantrel::frame {

// Runs the application identifier script, then each class's script in table
// order, then registers the type library. Returns S_OK or the first failing
// step's result (as HRESULT); later steps are not run. Blocks on the store.
HRESULT RegisterServer();

// Removes each class's keys, then the application identifier's, then the type
// library's registration. Missing keys are no error.
HRESULT UnregisterServer();

// The type library's registration for this target (type_library_*.cc).
HRESULT RegisterTypeLibrary(const std::string& module_path);
HRESULT UnregisterTypeLibrary();

// The text of a GUID in braces, upper-case.
std::string GuidText(REFGUID guid);

}  // namespace vantrel::frame
