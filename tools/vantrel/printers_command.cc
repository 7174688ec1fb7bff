// `vantrel printers` and `vantrel printer NAME [set ...]`: the print server's
// printers with their level-2 fields, and changes through the printer context
// the library's objects use.
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "object_failure.h"
#include "frame/error_texts.h"
#include "platform/platform_error.h"
#include "platform/native_thread.h"
#include "platform/spooler.h"
#include "platform/win32_errors.h"
#include "printers/driver_interface.h"
#include "printers/printer_context_registry.h"
#include "support/exception_handler.h"
#include "support/exceptions.h"

namespace vantrel::tool {
namespace {

using platform::PrinterInfo2;

std::string Or(const std::string& text, const char* otherwise) {
  return text.empty() ? otherwise : text;
}

nlohmann::json ToJson(const PrinterInfo2& p) {
  return {{"pServerName", p.server_name},
          {"pPrinterName", p.printer_name},
          {"pShareName", p.share_name},
          {"pPortName", p.port_name},
          {"pDriverName", p.driver_name},
          {"pComment", p.comment},
          {"pLocation", p.location},
          {"pSepFile", p.sep_file},
          {"pPrintProcessor", p.print_processor},
          {"pDatatype", p.datatype},
          {"pParameters", p.parameters},
          {"Attributes", p.attributes},
          {"Priority", p.priority},
          {"DefaultPriority", p.default_priority},
          {"StartTime", p.start_time},
          {"UntilTime", p.until_time},
          {"Status", p.status},
          {"cJobs", p.jobs},
          {"AveragePPM", p.average_ppm}};
}

// What the driver interface says of the printer's driver, beside its record.
struct DriverFacts {
  std::string version, date, kind;  // kind: "basic" or "advanced"
};

void PrintText(const PrinterInfo2& p, const DriverFacts& driver) {
  std::printf("%s\n", p.printer_name.c_str());
  std::printf("  Port:        %s\n", p.port_name.c_str());
  std::printf("  Model:       %s\n", p.driver_name.c_str());
  std::printf("  Driver:      %s, %s (%s interface)\n", Or(driver.version, "no version").c_str(),
              Or(driver.date, "no date").c_str(), driver.kind.c_str());
  std::printf("  Comment:     %s\n", p.comment.c_str());
  std::printf("  Location:    %s\n", p.location.c_str());
  std::printf("  Share name:  %s%s\n", p.share_name.c_str(),
              (p.attributes & platform::kPrinterAttributeShared) ? " (shared)" : "");
  std::printf("  Status:      0x%08X\n", p.status);
  std::printf("  Attributes:  0x%08X\n", p.attributes);
  std::printf("  Priority:    %u\n", p.default_priority);
  std::printf("  Jobs:        %u\n", p.jobs);
}

int Fail(const std::string& what, const std::string& why, ResultCode code) {
  std::fprintf(stderr, "vantrel: %s: %s (0x%08X)\n", what.c_str(), why.c_str(),
               static_cast<uint32_t>(code));
  return 1;
}

// Runs `body` and turns the library's failures into one line saying what
// failed and why, with the result code, and status 1. `printer` names the
// printer the command is about, if any.
template <typename Body>
int Guarded(const std::string& what, const std::string& printer, Body body) {
  try {
    return body();
  } catch (const KestoException& e) {
    std::string why = e.text();
    if (e.code() == frame::kCouldNotOpenPrinter.code && !printer.empty()) {
      const std::string reason = WhyNotOpened(printer);
      if (!reason.empty()) why += ": " + reason;
    }
    return Fail(what, why, e.code());
  } catch (const OException& e) {
    return Fail(what, e.message().empty() ? e.text() : e.message(), ResultFromWin32(e.error()));
  }
}

int ListPrinters(bool as_json) {
  std::vector<PrinterInfo2> printers;
  const long error = platform::DefaultSpooler().EnumPrinters2(
      platform::kEnumLocal | platform::kEnumConnections, &printers);
  if (error != platform::kErrorSuccess)
    throw OException("EnumPrinters", error, platform::PlatformErrorMessage(error));
  if (as_json) {
    nlohmann::json out = nlohmann::json::array();
    for (const PrinterInfo2& p : printers) out.push_back(ToJson(p));
    std::printf("%s\n", out.dump(2).c_str());
    return 0;
  }
  if (printers.empty()) {
    std::printf("No printers.\n");
    return 0;
  }
  std::printf("%-24s %-10s  %-32s %s\n", "NAME", "STATUS", "PORT", "COMMENT");
  for (const PrinterInfo2& p : printers)
    std::printf("%-24s 0x%08X  %-32s %s\n", p.printer_name.c_str(), p.status, p.port_name.c_str(),
                p.comment.c_str());
  return 0;
}

struct Changes {
  std::optional<std::string> comment, location, share_name, shared, port;
  std::optional<uint32_t> priority;
};

// Holds one context of the process's registry.
class ContextHold {
 public:
  explicit ContextHold(const std::string& name)
      : context_(printers::PrinterContextRegistry::Instance().Acquire(name)) {}
  ~ContextHold() { printers::PrinterContextRegistry::Instance().Release(context_); }
  printers::PrinterContext* operator->() { return context_; }

 private:
  printers::PrinterContext* context_;
};

int ShowPrinter(const std::string& name, bool as_json) {
  ContextHold context(name);
  PrinterInfo2 record;
  if (!context->GetRecord(&record))
    return Fail("cannot read printer '" + name + "'", frame::kInvalidPrinter.text,
                frame::kInvalidPrinter.code);
  printers::DriverInterface* driver = context->driver();
  const DriverFacts facts{driver->GetDriverVersion(), driver->GetDriverDate(),
                          driver->IsAdvanced() ? "advanced" : "basic"};
  if (!as_json) {
    PrintText(record, facts);
    return 0;
  }
  nlohmann::json out = ToJson(record);
  out["ModelName"] = record.driver_name;
  out["DriverVersion"] = facts.version;
  out["DriverDate"] = facts.date;
  out["Interface"] = facts.kind;
  std::printf("%s\n", out.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
  return 0;
}

int ChangePrinter(const std::string& name, const Changes& changes) {
  ContextHold context(name);
  // The port and the share first: they are the changes that can be refused.
  if (changes.port) context->SetPortName(*changes.port);
  if (changes.share_name) context->SetShareName(*changes.share_name);
  if (changes.shared) context->SetShared(*changes.shared == "on");
  if (changes.comment) context->SetComment(*changes.comment);
  if (changes.location) context->SetLocation(*changes.location);
  if (changes.priority) context->SetDefaultPriority(*changes.priority);
  return 0;
}

}  // namespace

void AddPrintersCommands(CLI::App& app) {
  auto* list = app.add_subcommand("printers", "List the print server's printers");
  static bool list_json = false;
  list->add_flag("--json", list_json, "Print the level-2 records as JSON");
  list->callback([] {
    SetExitCode(Guarded("cannot list the printers", "", [] { return ListPrinters(list_json); }));
  });

  auto* printer = app.add_subcommand("printer", "Show or change one printer");
  static std::string name;
  static bool show_json = false;
  static Changes changes;
  printer->add_option("name", name, "The printer's name")->required();
  printer->add_flag("--json", show_json,
                    "Print the level-2 record as JSON, with ModelName, DriverVersion, DriverDate "
                    "and Interface (\"basic\" or \"advanced\")");
  auto* set = printer->add_subcommand("set", "Change the printer's fields");
  set->add_option("--comment", changes.comment, "Comment");
  set->add_option("--location", changes.location, "Location");
  set->add_option("--share-name", changes.share_name, "Share name (empty: unshare)");
  set->add_option("--shared", changes.shared, "Share the printer")
      ->check(CLI::IsMember({"on", "off"}));
  set->add_option("--port", changes.port, "Port (device URI on Linux)");
  set->add_option("--priority", changes.priority, "Default job priority")->check(CLI::Range(1, 99));
  printer->callback([set] {
    const std::string what =
        (set->parsed() ? "cannot change printer '" : "cannot show printer '") + name + "'";
    SetExitCode(Guarded(what, name, [set] {
      return set->parsed() ? ChangePrinter(name, changes) : ShowPrinter(name, show_json);
    }));
  });
}

}  // namespace vantrel::tool
