// `vantrel send PRINTER FILE [--name JOB] [--json]`: one raw job holding the
// file's bytes unchanged, streamed in chunks, with a progress line on a
// terminal for a large file.
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>
#include <string>

#include "commands.h"
#include "platform/platform_error.h"
#include "platform/process.h"
#include "platform/spooler.h"
#include "printers/raw_file_sender.h"
#include "support/exception_handler.h"

namespace vantrel::tool {
namespace {

// Files smaller than this go too fast for a progress line to help.
constexpr uint64_t kProgressFromBytes = uint64_t{4} << 20;

struct SendArguments {
  std::string printer;
  std::string file;
  std::string job_name;
  bool json = false;
};

int Fail(const std::string& what, long error) {
  std::fprintf(stderr, "vantrel: %s: %s (0x%08X)\n", what.c_str(),
               platform::PlatformErrorMessage(error).c_str(),
               static_cast<uint32_t>(ResultFromWin32(error)));
  return 1;
}

// Redraws one line on standard error: bytes sent and the share of the file.
void ShowProgress(uint64_t sent, uint64_t total) {
  const double mib = 1024.0 * 1024.0;
  std::fprintf(stderr, "\rsent %.1f of %.1f MiB (%3.0f%%)", sent / mib, total / mib,
               total == 0 ? 100.0 : 100.0 * static_cast<double>(sent) / static_cast<double>(total));
  if (sent >= total) std::fputc('\n', stderr);
}

void PrintResult(const SendArguments& args, const RawFileOutcome& outcome, uint64_t bytes) {
  const std::string job = RawFileJobName(args.file, args.job_name);
  if (args.json) {
    const nlohmann::json out = {{"printer", args.printer},
                                {"file", args.file},
                                {"job", job},
                                {"job_id", outcome.job_id},
                                {"bytes", bytes}};
    std::printf("%s\n", out.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
    return;
  }
  std::printf("Sent %llu bytes to %s as job %u \"%s\".\n", static_cast<unsigned long long>(bytes),
              args.printer.c_str(), outcome.job_id, job.c_str());
}

int RunSend(const SendArguments& args) {
  std::unique_ptr<platform::SpoolerPrinter> printer;
  if (const long error =
          platform::DefaultSpooler().Open(args.printer, platform::kPrinterAccessUse, &printer)) {
    return Fail("cannot open the queue '" + args.printer + "'", error);
  }
  uint64_t bytes = 0;
  RawFileHooks hooks;
  const bool show_progress = platform::IsStandardErrorTerminal() && !args.json;
  hooks.progress = [&](uint64_t sent, uint64_t total) {
    bytes = sent;
    if (show_progress && total >= kProgressFromBytes) ShowProgress(sent, total);
  };
  const RawFileOutcome outcome = SendRawFile(*printer, args.file, args.job_name, hooks);
  if (!outcome.sent) {
    const std::string what =
        outcome.job_id == 0 ? "cannot send '" + args.file + "' to '" + args.printer + "'"
                            : "job " + std::to_string(outcome.job_id) + " on '" + args.printer +
                                  "' stopped after " + std::to_string(bytes) + " bytes";
    return Fail(what, outcome.error);
  }
  PrintResult(args, outcome, bytes);
  return 0;
}

}  // namespace

void AddSendCommand(CLI::App& app) {
  static SendArguments args;
  auto* command = app.add_subcommand("send", "Send a file's bytes unchanged as one raw job");
  command->add_option("PRINTER", args.printer, "The printer's name")->required();
  command->add_option("FILE", args.file, "The file to send")->required();
  command->add_option("--name", args.job_name, "The job's name (default: the file's name)");
  command->add_flag("--json", args.json,
                    "Print {\"printer\", \"file\", \"job\", \"job_id\", \"bytes\"}");
  command->callback([] { SetExitCode(RunSend(args)); });
}

}  // namespace vantrel::tool
