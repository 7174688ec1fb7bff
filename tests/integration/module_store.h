// The settings store the sample driver modules see, one per test program
// run: a module loaded in-process keeps the store it first opened for the
// rest of the process (it may never be unloaded), and module hosts open the
// folder named by VANTREL_HOME. Every suite that talks to the modules uses
// this one, so none of them is left reading another's deleted folder. On
// Windows the store is the registry and the folder is unused.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>

#include "platform/settings_store.h"
#include "support/registry.h"

namespace vantrel::testing {

// The store, opened and put in VANTREL_HOME on first use; removed when the
// program ends. Any thread.
platform::SettingsStore& ModuleStore();
std::string ModuleStoreFolder();

// The machine setting that sends new enough modules to the module host, in
// the module store; true when it was written.
bool SetDriverIsolation(bool on);
// A printer's keys (SETTINGS:, DATA:, ...) in the module store.
PrinterRegistry ModuleSettings(const std::string& printer);

// Waits up to 10 s for the sample module's hold action to reach the module
// host serving `printer` and gives that host's process id, which the module
// writes to "SETTINGS:Host Process"; nothing when it never came.
std::optional<uint32_t> WaitForHeldHost(const std::string& printer);
// Removes the keys of the named printers, also those an earlier run left.
// On Windows the store is the registry, which outlives the run, and a key
// under Print\Printers is listed there as a printer that cannot be opened.
void ForgetModulePrinters(std::initializer_list<const char*> names);

// Forgets the id an earlier held host wrote (the Windows store outlives a
// run): call before starting the held action.
void ForgetHeldHost(const std::string& printer);

// The path of a sample driver module variant ("sample-driver",
// "sample-driver-7229", ...): in the build's module folder, or beside this
// program.
std::string SampleModule(const std::string& variant);

}  // namespace vantrel::testing
