// `vantrel printers` and `vantrel printer NAME [set ...]`: the print server's
// printers with their level-2 fields, and changes through the printer context
// the library's objects use.
#include <nlohmann/json.hpp>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "platform/platform_error.h"
#include "platform/native_thread.h"
#include "platform/spooler.h"
#include "platform/win32_errors.h"
#include "printers/printer_context_registry.h"
#include "support/exception_handler.h"
#include "support/exceptions.h"

namespace vantrel::tool {
namespace {

using platform::PrinterInfo2;

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

void PrintText(const PrinterInfo2& p) {
  std::printf("%s\n", p.printer_name.c_str());
  std::printf("  Port:        %s\n", p.port_name.c_str());
  std::printf("  Driver:      %s\n", p.driver_name.c_str());
  std::printf("  Comment:     %s\n", p.comment.c_str());
  std::printf("  Location:    %s\n", p.location.c_str());
  std::printf("  Share name:  %s%s\n", p.share_name.c_str(),
              (p.attributes & platform::kPrinterAttributeShared) ? " (shared)" : "");
  std::printf("  Status:      0x%08X\n", p.status);
  std::printf("  Attributes:  0x%08X\n", p.attributes);
  std::printf("  Priority:    %u\n", p.default_priority);
  std::printf("  Jobs:        %u\n", p.jobs);
}

int Fail(const std::string& text, ResultCode code) {
  std::fprintf(stderr, "vantrel: %s (0x%08X)\n", text.c_str(), static_cast<uint32_t>(code));
  return 1;
}

// Runs `body` and turns the library's failures into one line and status 1.
template <typename Body>
int Guarded(Body body) {
  try {
    return body();
  } catch (const KestoException& e) {
    return Fail(e.text(), e.code());
  } catch (const OException& e) {
    const std::string text = e.message().empty() ? e.text() : e.message();
    return Fail(text, ResultFromWin32(e.error()));
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
  if (!context->GetRecord(&record)) return Fail("Invalid printer", ToResultCode(0x80042002));
  if (as_json)
    std::printf("%s\n", ToJson(record).dump(2).c_str());
  else
    PrintText(record);
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
  list->callback([] { SetExitCode(Guarded([] { return ListPrinters(list_json); })); });

  auto* printer = app.add_subcommand("printer", "Show or change one printer");
  static std::string name;
  static bool show_json = false;
  static Changes changes;
  printer->add_option("name", name, "The printer's name")->required();
  printer->add_flag("--json", show_json, "Print the level-2 record as JSON");
  auto* set = printer->add_subcommand("set", "Change the printer's fields");
  set->add_option("--comment", changes.comment, "Comment");
  set->add_option("--location", changes.location, "Location");
  set->add_option("--share-name", changes.share_name, "Share name (empty: unshare)");
  set->add_option("--shared", changes.shared, "Share the printer")
      ->check(CLI::IsMember({"on", "off"}));
  set->add_option("--port", changes.port, "Port (device URI on Linux)");
  set->add_option("--priority", changes.priority, "Default job priority")->check(CLI::Range(1, 99));
  printer->callback([printer, set] {
    (void)printer;
    SetExitCode(Guarded([set] {
      return set->parsed() ? ChangePrinter(name, changes) : ShowPrinter(name, show_json);
    }));
  });
}

}  // namespace vantrel::tool
