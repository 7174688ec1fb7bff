// `vantrel reg`: reading and writing settings by symbolic path, and moving
// them in and out of .reg files. This file only declares the arguments; the
// work is in reg_*_commands.cc.
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "reg_commands.h"
#include "reg_value_text.h"

namespace vantrel::tool {
namespace {

constexpr const char* kPathHelp =
    "Symbolic path: a root number (0 classes, 1 current user, 2 local machine, 3 users) or a "
    "named key such as SETTINGS, a colon, then \"/\"-separated keys; write a literal %, / or : "
    "doubled";

// Everything the subcommands parse into; lives as long as the App.
struct RegArguments {
  RegTarget target;
  std::string path;
  std::string file;
  std::string type;
  std::vector<std::string> values;
  std::string separator;
  bool json = false;
  bool recursive = false;
  bool utf8 = false;
};

CLI::App* AddPathCommand(CLI::App& reg, RegArguments& args, const char* name,
                         const char* description, const char* path_help) {
  CLI::App* command = reg.add_subcommand(name, description);
  command->add_option("PATH", args.path, path_help)->required();
  AddTargetOptions(command, &args.target);
  command->footer(
      "With --printer, --server, --port or --oem the path's placeholders are filled and the "
      "command takes the printer settings mutex.");
  return command;
}

void AddValueCommands(CLI::App& reg, RegArguments& args) {
  const std::string value_path = std::string(kPathHelp) + "; the last component is the value";
  CLI::App* query =
      AddPathCommand(reg, args, "query", "Show a value's type and data", value_path.c_str());
  query->add_flag("--json", args.json,
                  "Print {\"type\": \"REG_...\", \"value\": ...}: text, number, list of texts, "
                  "or hexadecimal text for bytes");
  query->callback([&args] { SetExitCode(RunRegQuery(args.target, args.path, args.json)); });

  CLI::App* set = AddPathCommand(reg, args, "set", "Write a value", value_path.c_str());
  set->add_option("VALUE", args.values,
                  "The data. sz, expand_sz: one text. dword, qword: one number, decimal or 0x-hex. "
                  "binary, none: hex bytes, two digits each, spaces , : - ignored. multi_sz: one "
                  "item per VALUE (none for an empty list), each split at --separator if given");
  set->add_option("--type", args.type, "Value type")->required()->check(CLI::IsMember([] {
    std::vector<std::string> names;
    for (const auto& entry : SettableTypes()) names.push_back(entry.first);
    return names;
  }()));
  set->add_option("--separator", args.separator,
                  "multi_sz: split each VALUE into items at this text, e.g. \"|\"");
  set->callback([&args] {
    SetExitCode(RunRegSet(args.target, args.path, args.type, args.values, args.separator));
  });

  CLI::App* remove = AddPathCommand(reg, args, "delete", "Delete a value", value_path.c_str());
  remove->callback([&args] { SetExitCode(RunRegDelete(args.target, args.path)); });
}

void AddKeyCommands(CLI::App& reg, RegArguments& args) {
  CLI::App* keys = AddPathCommand(reg, args, "keys", "List the subkeys of a key", kPathHelp);
  keys->add_flag("--json", args.json, "Print one JSON list of names");
  keys->callback([&args] { SetExitCode(RunRegKeys(args.target, args.path, args.json)); });

  CLI::App* remove = AddPathCommand(reg, args, "delete-key", "Delete a key", kPathHelp);
  remove->add_flag("--recursive", args.recursive, "Delete its subkeys too");
  remove->callback(
      [&args] { SetExitCode(RunRegDeleteKey(args.target, args.path, args.recursive)); });
}

void AddFileCommands(CLI::App& reg, RegArguments& args) {
  CLI::App* out = AddPathCommand(reg, args, "export",
                                 "Write a key, its subkeys and all their values to a .reg file "
                                 "(UTF-16 with byte-order mark, as regedit writes)",
                                 kPathHelp);
  out->add_option("FILE", args.file, "The .reg file to write")->required();
  out->add_flag("--utf8", args.utf8, "Write UTF-8 instead of UTF-16");
  out->callback(
      [&args] { SetExitCode(RunRegExport(args.target, args.path, args.file, args.utf8)); });

  CLI::App* in =
      reg.add_subcommand("import",
                         "Apply a .reg file (UTF-16 or UTF-8): create keys, set and delete values, "
                         "delete keys; prints how many values and keys changed");
  in->add_option("FILE", args.file, "The .reg file to read")->required();
  in->callback([&args] { SetExitCode(RunRegImport(args.file)); });
}

}  // namespace

void AddRegCommand(CLI::App& app) {
  static RegArguments args;
  CLI::App* reg = app.add_subcommand("reg", "Read and write settings by symbolic path");
  reg->require_subcommand(1);
  AddValueCommands(*reg, args);
  AddKeyCommands(*reg, args);
  AddFileCommands(*reg, args);
}

}  // namespace vantrel::tool
