// `vantrel xpml PRINTER TEXT`: sends one XPML text to the printer driver's
// service through the library's client and prints the reply; the
// administrator's probe of that service.
#include <nlohmann/json.hpp>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>

#include "commands.h"
#include "driver/client_utility.h"
#include "frame/error_texts.h"

namespace vantrel::tool {
namespace {

struct XpmlArguments {
  std::string printer;
  std::string text;
  bool json = false;
};

std::string ReadStandardInput() {
  std::cin >> std::noskipws;
  return std::string(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
}

const char* RouteName(int route) { return route == ClientUtility::kLocalRoute ? "local" : "tcp"; }

void PrintReply(const XpmlArguments& args, uint32_t port, int route, const std::string& reply) {
  if (args.json) {
    const nlohmann::json out = {
        {"printer", args.printer}, {"port", port}, {"route", RouteName(route)}, {"reply", reply}};
    std::printf("%s\n", out.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
    return;
  }
  std::fwrite(reply.data(), 1, reply.size(), stdout);
  if (reply.empty() || reply.back() != '\n') std::fputc('\n', stdout);
}

int RunXpml(const XpmlArguments& args) {
  const std::string text = args.text == "-" ? ReadStandardInput() : args.text;
  const XpmlPrinterContext context{args.printer, "", false};
  ClientUtility client;
  int route = ClientUtility::kNoRoute;
  const std::optional<std::string> reply = client.SendReceive(context, text, &route);
  // The port the exchange used, for the report (it reads the same settings).
  const uint32_t port = client.GetRefactoredTcpPortNumber(context);
  if (!reply) {
    std::fprintf(stderr,
                 "vantrel: %s: no reply from the XPML service of '%s' on port %u (0x%08X)\n",
                 frame::kPrinterQueryFailed.text, args.printer.c_str(), port,
                 static_cast<uint32_t>(frame::kPrinterQueryFailed.code));
    return 1;
  }
  PrintReply(args, port, route, *reply);
  return 0;
}

}  // namespace

void AddXpmlCommand(CLI::App& app) {
  static XpmlArguments args;
  auto* command = app.add_subcommand(
      "xpml", "Send one XPML text to a printer driver's service and print the reply");
  command->add_option("PRINTER", args.printer, "The printer's name")->required();
  command->add_option("TEXT", args.text, "The XPML text; \"-\" reads standard input")->required();
  command->add_flag("--json", args.json,
                    "Print {\"printer\", \"port\", \"route\", \"reply\"}; route is \"tcp\" or "
                    "\"local\" (the loopback port a service of this computer published)");
  command->footer(
      "The connection settings are the printer's NETWORK: values (XPML Server Port, Connection "
      "Retries, Connection Timeout, ...), as the library reads them for every exchange.");
  command->callback([] { SetExitCode(RunXpml(args)); });
}

}  // namespace vantrel::tool
