// A private CUPS scheduler for one test program run, through
// scripts/cups-sandbox in a scratch folder; stopped when destroyed.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace vantrel::testing {

class CupsSandbox {
 public:
  CupsSandbox() : dir_(std::filesystem::temp_directory_path() / ("vantrel-cups-" + Suffix())) {
    std::filesystem::create_directories(dir_);
    Start();
  }
  ~CupsSandbox() {
    Run("stop");
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
  }

  // Starts it again in the same folder and on the same port.
  bool Restart() {
    Run("stop");
    return Start();
  }
  bool Stop() { return Run("stop") == 0; }
  bool Start() {
    server_.clear();
    if (Run("start") != 0) {
      error_ = "cupsd cannot start (scripts/cups-sandbox): " + Slurp(dir_ / "start.err");
      return false;
    }
    const std::string out = Slurp(dir_ / "start.out");
    const std::string key = "CUPS_SERVER=";
    const size_t at = out.find(key);
    if (at == std::string::npos) {
      error_ = "cups-sandbox printed no CUPS_SERVER: " + out;
      return false;
    }
    server_ = out.substr(at + key.size());
    server_ = server_.substr(0, server_.find_first_of("\n "));
    return true;
  }

  bool ok() const { return !server_.empty(); }
  const std::string& error() const { return error_; }
  const std::string& server() const { return server_; }

  // Runs a CUPS command-line tool against this scheduler; its exit status.
  int Tool(const std::string& command) const {
    return std::system(("CUPS_SERVER=" + server_ + " " + command + " >/dev/null 2>&1").c_str());
  }

 private:
  static std::string Suffix() {
    std::random_device random;
    return std::to_string(random()) + std::to_string(random());
  }
  static std::string Slurp(const std::filesystem::path& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    std::string line = text.str();
    while (!line.empty() && (line.back() == '\n' || line.back() == ' ')) line.pop_back();
    return line;
  }
  int Run(const std::string& action) {
    const std::filesystem::path script =
        std::filesystem::path(VANTREL_SOURCE_DIR) / "scripts" / "cups-sandbox";
    const std::string command =
        "'" + script.string() + "' " + action + " '" + (dir_ / "cupsd").string() + "' >'" +
        (dir_ / (action + ".out")).string() + "' 2>'" + (dir_ / (action + ".err")).string() + "'";
    return std::system(command.c_str());
  }

  const std::filesystem::path dir_;
  std::string server_;
  std::string error_;
};

// Quotes a text for the shell.
inline std::string ShellQuote(const std::string& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

}  // namespace vantrel::testing
