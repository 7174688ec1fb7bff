// `vantrel register` and `vantrel unregister`: load the library the way a
// client would and run its own registration entry point, so the path written
// as its in-process server is the library's, not this program's.
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "commands.h"
#include "platform/folders.h"
#include "platform/library_folder.h"
#include "platform/loadable_module.h"

namespace vantrel::tool {
namespace {

using EntryPoint = int32_t (*)();

#ifndef VANTREL_LIBRARY_FILE
#error "the build names the library file"
#endif

// The library beside this program (Windows) or in ../lib (the build tree and
// the installed layout on Linux).
std::string DefaultLibraryPath() {
  const std::string folder = platform::LibraryFolder();
  const std::string beside = platform::JoinPath(folder, VANTREL_LIBRARY_FILE);
  const std::string lib = platform::JoinPath(platform::JoinPath(folder, ".."),
                                             platform::JoinPath("lib", VANTREL_LIBRARY_FILE));
  std::FILE* probe = std::fopen(lib.c_str(), "rb");
  if (probe == nullptr) return beside;
  std::fclose(probe);
  return lib;
}

int RunEntry(const std::string& library, const char* entry, const char* done) {
  const std::string path = library.empty() ? DefaultLibraryPath() : library;
  std::string error;
  const auto module = platform::LoadModule(path, &error);
  if (!module) {
    std::fprintf(stderr, "vantrel: cannot load the library: %s\n", error.c_str());
    return 1;
  }
  auto function = reinterpret_cast<EntryPoint>(module->Symbol(entry));
  if (function == nullptr) {
    std::fprintf(stderr, "vantrel: %s has no entry point %s\n", path.c_str(), entry);
    return 1;
  }
  const int32_t result = function();
  if (result < 0) {
    std::fprintf(stderr, "vantrel: %s failed (0x%08X)\n", entry, static_cast<unsigned>(result));
    return 1;
  }
  std::printf("%s %s\n", done, path.c_str());
  return 0;
}

void AddEntryCommand(CLI::App& app, const char* name, const char* help, const char* entry,
                     const char* done) {
  auto* command = app.add_subcommand(name, help);
  // Owned by the callback, which the command keeps for the program's life.
  auto library = std::make_shared<std::string>();
  command->add_option("--library", *library,
                      "The library file (default: the one installed "
                      "with this program)");
  command->callback([library, entry, done] { SetExitCode(RunEntry(*library, entry, done)); });
}

}  // namespace

void AddRegisterCommands(CLI::App& app) {
  AddEntryCommand(app, "register", "Register the library's classes and type library",
                  "DllRegisterServer", "Registered");
  AddEntryCommand(app, "unregister", "Remove the library's registration", "DllUnregisterServer",
                  "Unregistered");
}

}  // namespace vantrel::tool
