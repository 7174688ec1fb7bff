#include "unit/event_log_lines.h"

#include <fstream>
#include <regex>

namespace vantrel::testing {

std::vector<std::string> ReadLines(const std::string& path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

// The message is taken as it stands (std::regex would recurse once per
// character of a long message).
bool ParseLine(const std::string& line, ParsedLine* out) {
  std::vector<std::string> fields;
  size_t start = 0;
  for (int i = 0; i < 4; ++i) {
    const size_t comma = line.find(", ", start);
    if (comma == std::string::npos) return false;
    fields.push_back(line.substr(start, comma - start));
    start = comma + 2;
  }
  static const std::regex stamp(R"((\d\d)/(\d\d)/(\d{4}) (\d\d):(\d\d):(\d\d))");
  static const std::regex thread(R"(Thread:0x([0-9a-f]+))");
  std::smatch time, id;
  if (!std::regex_match(fields[0], time, stamp) || !std::regex_match(fields[3], id, thread))
    return false;
  *out = ParsedLine{std::stoi(time[1]), std::stoi(time[2]), std::stoi(time[3]),
                    std::stoi(time[4]), std::stoi(time[5]), std::stoi(time[6]),
                    fields[1],          fields[2],          std::stoull(id[1], nullptr, 16),
                    line.substr(start)};
  return true;
}

}  // namespace vantrel::testing
