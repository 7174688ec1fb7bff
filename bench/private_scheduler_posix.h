// A private CUPS scheduler for a benchmark program, through
// scripts/cups-sandbox: started in a folder the caller prepared (printers.conf
// may already hold queues) and stopped by the caller.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace vantrel::bench {

inline std::string SandboxScript() {
  return (std::filesystem::path(__FILE__).parent_path().parent_path() / "scripts" / "cups-sandbox")
      .string();
}

// Starts the scheduler whose folders are under `dir`; its CUPS_SERVER value.
// Aborts when it cannot start: a benchmark without its scheduler measures nothing.
inline std::string StartPrivateScheduler(const std::filesystem::path& dir) {
  const std::string out = (dir.parent_path() / "start.out").string();
  if (std::system((SandboxScript() + " start " + dir.string() + " >" + out).c_str()) != 0)
    std::abort();
  std::ifstream in(out);
  std::string line;
  std::getline(in, line);
  return line.substr(line.find('=') + 1);
}

inline void StopPrivateScheduler(const std::filesystem::path& dir) {
  static_cast<void>(std::system((SandboxScript() + " stop " + dir.string()).c_str()));
}

}  // namespace vantrel::bench
