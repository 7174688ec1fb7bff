// Printer commands and settings carried out by the driver's interface
// module over a DriverChannel. Nothing here raises for a module that cannot
// be reached or refuses: the answers say "not supported" instead.
#pragma once

#include <cstdint>
#include <string>

#include "printers/driver_channel.h"
#include "printers/driver_interface.h"

namespace vantrel::printers {

// The action flag word's bits.
constexpr uint64_t kActionSupported = 0x01;
constexpr uint64_t kActionHasUserInterface = 0x02;
constexpr uint64_t kActionNeedsManagementRights = 0x10;
constexpr uint64_t kActionNeedsBidirectionalPort = 0x20;

// Sets the request's four answers from the driver's flag word for one
// action; other bits mean nothing here.
void SetAnswersFromActionFlags(uint64_t flags, CommandRequest* request);

// Clears the four answers, asks the module for the action's flags and, when
// the action is supported and the request says to execute, carries it out
// (with the request's owner window for any dialog of the driver). All
// answers false when the module cannot be had. Blocks while the module
// works; any thread, holding no lock of ours. Throws only what opening the
// module throws (see DriverChannel::Run).
void RunDriverAction(DriverChannel& channel, const std::string& printer_name, int32_t code,
                     CommandRequest* request);

// The module's settings moved to or from the file at `path`, or reset to
// its defaults, limited to the groups of `flags`. Import and reset save the
// settings afterwards, as the module expects. True when the module was
// reached and the exchange did not fail; the module's own answers to these
// entries are not reported. Blocking and threads as RunDriverAction.
bool ImportDriverSettings(DriverChannel& channel, const std::string& printer_name,
                          const std::string& path, uint32_t flags);
bool ExportDriverSettings(DriverChannel& channel, const std::string& printer_name,
                          const std::string& path, uint32_t flags);
bool ResetDriverSettings(DriverChannel& channel, const std::string& printer_name, uint32_t flags);

}  // namespace vantrel::printers
