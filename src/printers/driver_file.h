// The version and date of a printer's driver, read from the file the driver
// is: the spooler's driver file (a module on Windows, the queue's PPD on
// Linux), the vendor's interface module, or, for a printer that has no driver
// (a raw queue), this library's own file.
#pragma once

#include <cstdint>
#include <string>

namespace vantrel::platform {
class SpoolerPrinter;
}

namespace vantrel::printers {

struct DriverFileFacts {
  bool found = false;      // the file was read
  std::string version;     // "a.b.c.d"; empty when the file names none
  std::string build_date;  // a module's "Build Date" up to its first ", "; empty when none
  std::string date;        // the file's own date (platform::FormatFileDate)
};

// The spooler's driver file of the printer; this library's own file when the
// printer has none. Not found when the spooler cannot tell (the scheduler is
// down, the record is unreadable). Blocks on the spooler; any thread.
DriverFileFacts ReadSpoolerDriverFile(platform::SpoolerPrinter& printer);

// A module's version table and file date. Not found when the file cannot be
// read; a module without a table has only its date. Any thread.
DriverFileFacts ReadModuleFile(const std::string& path);

// The vendor's interface module of the printer (its printer data value
// "Kesto Interface V3", else "Kesto Interface"); empty when it has none.
std::string ReadInterfaceModulePath(platform::SpoolerPrinter& printer);

// "a.b.c.d" as "%hu.%hu.%hu.%hu" gives it; a version text of up to four
// dotted numbers is filled up with zeros, any other text is kept as it is.
std::string FormatDriverVersion(const uint16_t (&numbers)[4]);
std::string NormalizeDriverVersion(const std::string& text);

}  // namespace vantrel::printers
