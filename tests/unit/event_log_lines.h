// What tests of the event log share: a system log that records instead of
// writing, and a reader of the log file's lines.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/system_log.h"

namespace vantrel::testing {

struct SystemLogEntry {
  platform::SystemLogType type;
  std::string message;
};

class RecordingSystemLog : public platform::SystemLog {
 public:
  explicit RecordingSystemLog(std::shared_ptr<std::vector<SystemLogEntry>> entries)
      : entries_(std::move(entries)) {}
  void Write(platform::SystemLogType type, std::string_view message) override {
    entries_->push_back({type, std::string(message)});
  }

 private:
  std::shared_ptr<std::vector<SystemLogEntry>> entries_;
};

// The lines of a text file without their line ends; empty when it cannot be read.
std::vector<std::string> ReadLines(const std::string& path);

struct ParsedLine {
  int month = 0, day = 0, year = 0, hour = 0, minute = 0, second = 0;
  std::string name, level;
  uint64_t thread = 0;
  std::string message;
};

// Splits a log file line into its fields; false when it is not one.
bool ParseLine(const std::string& line, ParsedLine* out);

}  // namespace vantrel::testing
