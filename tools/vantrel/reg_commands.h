// The work of each `vantrel reg` subcommand, apart from argument parsing
// (reg_command.cc). Each prints its answer on stdout, or one failure line on
// stderr (reg_report.h), and returns the exit status: 0 on success, 1 on
// failure. Each blocks on the settings store and, for a printer's paths, on
// the printer registry's mutex. Main thread only.
#pragma once

#include <string>
#include <vector>

#include "reg_target.h"

namespace vantrel::tool {

// Value commands: the path's last component names the value.
int RunRegQuery(const RegTarget& target, const std::string& path, bool json);
int RunRegSet(const RegTarget& target, const std::string& path, const std::string& type,
              const std::vector<std::string>& values, const std::string& separator);
int RunRegDelete(const RegTarget& target, const std::string& path);

// Key commands. Without `recursive`, deleting a key that has subkeys fails.
int RunRegKeys(const RegTarget& target, const std::string& path, bool json);
int RunRegDeleteKey(const RegTarget& target, const std::string& path, bool recursive);

// Files: export writes the key and all below it; import applies a file.
int RunRegExport(const RegTarget& target, const std::string& path, const std::string& file,
                 bool utf8);
int RunRegImport(const std::string& file);

}  // namespace vantrel::tool
