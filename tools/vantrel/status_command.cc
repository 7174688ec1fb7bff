// `vantrel status PRINTER [--json]`: one status reading of a printer, taken
// through the objects a client uses (a Printer, its Status, and the Status's
// private whole-reading interface), so that the tool costs what a client's
// reading costs: one spooler request and, for a printer whose driver offers
// its interface, at most two exchanges with the driver's service.
#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>

#include "commands.h"
#include "object_failure.h"
#include "frame/com_ptr.h"
#include "frame/ole_string.h"
#include "printers/printer.h"
#include "printers/status_reading_interface.h"
#include "printers/status_rules.h"

namespace vantrel::tool {
namespace {

// A failed call of an object; its error information stays with the thread.
struct CallFailure {
  HRESULT result;
};

CallFailure FailureOf(HRESULT result) { return CallFailure{result}; }

// One reading of `name`; throws CallFailure.
StatusReadingRecord ReadPrinterStatus(const std::string& name) {
  IPrinter* raw_printer = nullptr;
  HRESULT result =
      frame::CreateInstance<Printer>(nullptr, IID_IPrinter, reinterpret_cast<void**>(&raw_printer));
  if (FAILED(result)) throw FailureOf(result);
  const auto printer = frame::ComPtr<IPrinter>::Adopt(raw_printer);
  const frame::Bstr bstr_name(name);
  if (FAILED(result = printer->Initialize(bstr_name.get()))) throw FailureOf(result);
  IPrinterStatus* raw_status = nullptr;
  if (FAILED(result = printer->get_Status(&raw_status))) throw FailureOf(result);
  const auto status = frame::ComPtr<IPrinterStatus>::Adopt(raw_status);
  IStatusReading* raw_reading = nullptr;
  if (FAILED(result = status->QueryInterface(IID_IStatusReading,
                                             reinterpret_cast<void**>(&raw_reading))))
    throw FailureOf(result);
  const auto reading = frame::ComPtr<IStatusReading>::Adopt(raw_reading);
  StatusReadingRecord record{};
  if (FAILED(result = reading->ReadStatus(&record))) throw FailureOf(result);
  return record;
}

const char* SeverityName(uint32_t severity) {
  switch (severity) {
    case printers::kSeverityError:
      return "error";
    case printers::kSeverityWarning:
      return "warning";
    default:
      return "normal";
  }
}

const char* SourceName(int32_t source) {
  return source == kStatusFromDevice ? "device" : "spooler";
}

nlohmann::ordered_json ToJson(const std::string& name, const StatusReadingRecord& record,
                              const std::string& text) {
  nlohmann::ordered_json conditions = nlohmann::ordered_json::object();
  for (const printers::StatusCondition& condition : printers::kStatusConditions)
    conditions[condition.name] =
        printers::TestStatusCode(condition.code, record.word1, record.word2);
  return {{"printer", name},
          {"text", text},
          {"severity", record.severity},
          {"conditions", conditions},
          {"source", SourceName(record.source)}};
}

void PrintTable(const std::string& name, const StatusReadingRecord& record,
                const std::string& text) {
  std::string holding;
  for (const printers::StatusCondition& condition : printers::kStatusConditions)
    if (printers::TestStatusCode(condition.code, record.word1, record.word2))
      holding += (holding.empty() ? "" : ", ") + std::string(condition.name);
  std::printf("Printer:     %s\n", name.c_str());
  std::printf("Text:        %s\n", text.c_str());
  std::printf("Severity:    %u (%s)\n", record.severity, SeverityName(record.severity));
  std::printf("Conditions:  %s\n", holding.empty() ? "none" : holding.c_str());
  std::printf("Source:      %s\n", SourceName(record.source));
}

int ShowStatus(const std::string& name, bool as_json) {
  StatusReadingRecord record{};
  try {
    record = ReadPrinterStatus(name);
  } catch (const CallFailure& failure) {
    return ReportObjectFailure(failure.result, name);
  }
  const std::string text = frame::BstrToUtf8(record.text);
  SysFreeString(record.text);
  if (as_json)
    std::printf("%s\n", ToJson(name, record, text)
                            .dump(2, ' ', false, nlohmann::json::error_handler_t::replace)
                            .c_str());
  else
    PrintTable(name, record, text);
  return 0;
}

}  // namespace

void AddStatusCommand(CLI::App& app) {
  static std::string name;
  static bool as_json = false;
  auto* command = app.add_subcommand("status", "Read one printer's status");
  command->add_option("PRINTER", name, "The printer's name")->required();
  command->add_flag("--json", as_json,
                    "Print {\"printer\", \"text\", \"severity\", \"conditions\" (all 32 by "
                    "name), \"source\" (\"spooler\" or \"device\")}");
  command->footer(
      "The source is \"device\" when the printer's driver service reported its conditions, "
      "\"spooler\" when they come from the spooler alone.");
  command->callback([] { SetExitCode(ShowStatus(name, as_json)); });
}

}  // namespace vantrel::tool
