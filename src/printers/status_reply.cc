#include "printers/status_reply.h"

#include <vector>

#include "printers/status_rules.h"

namespace vantrel::printers {

const char kSeverityStateRequest[] =
    "<state name='Monitoring Supported' action='get' />;"
    "<state name='Status Severity' action='get' />&#00;";
const char kFlagsStateRequest[] =
    "<state name='Monitoring Supported' action='get' />;"
    "<state name='Status Flags 2' action='get' />;"
    "<state name='Status Severity' action='get' />&#00;";
const char kTextStateRequest[] =
    "<state name='Monitoring Supported' action='get' />;"
    "<state name='Status' action='get' />;"
    "<state name='Status Severity' action='get' />&#00;";

std::string JobStateRequest(uint32_t job_id) {
  return "<job id='" + std::to_string(job_id) +
         "' action='get' jobIdentity='true' jobStatus='true' />&#00;";
}

namespace {

constexpr char kSeparator = ';';

std::string_view WithoutClosingBlanks(std::string_view reply) {
  while (!reply.empty()) {
    const char last = reply.back();
    if (last != '\0' && last != '\r' && last != '\n' && last != ' ' && last != '\t') break;
    reply.remove_suffix(1);
  }
  return reply;
}

// The reply's fields, or nothing when it does not say that monitoring is
// supported.
std::optional<std::vector<std::string_view>> SupportedFields(std::string_view reply) {
  reply = WithoutClosingBlanks(reply);
  std::vector<std::string_view> fields;
  size_t start = 0;
  for (size_t end; (end = reply.find(kSeparator, start)) != std::string_view::npos; start = end + 1)
    fields.push_back(reply.substr(start, end - start));
  fields.push_back(reply.substr(start));
  const std::optional<uint32_t> supported = ParseStateNumber(fields.front());
  if (!supported || *supported == 0) return std::nullopt;
  return fields;
}

std::optional<uint32_t> ParseSeverity(std::string_view field) {
  const std::optional<uint32_t> severity = ParseStateNumber(field);
  if (!severity || *severity < kSeverityNormal || *severity > kSeverityWarning) return std::nullopt;
  return severity;
}

}  // namespace

std::optional<uint32_t> ParseStateNumber(std::string_view field) {
  if (field.empty() || field.size() > 10) return std::nullopt;
  uint64_t value = 0;
  for (char c : field) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + static_cast<uint64_t>(c - '0');
  }
  if (value > UINT32_MAX) return std::nullopt;
  return static_cast<uint32_t>(value);
}

std::optional<DeviceFlags> ParseFlagsReply(std::string_view reply) {
  const auto fields = SupportedFields(reply);
  if (!fields || fields->size() < 3) return std::nullopt;
  const std::optional<uint32_t> flags = ParseStateNumber((*fields)[1]);
  const std::optional<uint32_t> severity = ParseSeverity((*fields)[2]);
  if (!flags || !severity) return std::nullopt;
  // The device's own bits stay as sent; the library's two are added on top.
  return DeviceFlags{*flags | SeverityBits(*severity), *severity};
}

std::optional<uint32_t> ParseSeverityReply(std::string_view reply) {
  const auto fields = SupportedFields(reply);
  if (!fields || fields->size() != 2) return std::nullopt;
  return ParseSeverity((*fields)[1]);
}

std::optional<DeviceText> ParseTextReply(std::string_view reply) {
  reply = WithoutClosingBlanks(reply);
  const auto fields = SupportedFields(reply);
  if (!fields || fields->size() < 3) return std::nullopt;
  const std::optional<uint32_t> severity = ParseSeverity(fields->back());
  if (!severity) return std::nullopt;
  const size_t first = reply.find(kSeparator);
  const size_t last = reply.rfind(kSeparator);
  return DeviceText{std::string(reply.substr(first + 1, last - first - 1)), *severity};
}

}  // namespace vantrel::printers
