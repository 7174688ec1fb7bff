// Feeds arbitrary bytes to the readers of the driver service's state replies.
// Beyond not crashing: whatever they accept is a reply that says monitoring
// is supported, carries a severity of 1 to 3 with its word-2 bits set, reads
// back the same when written out again, and the readers agree with each
// other on a reply of exactly three fields.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "printers/status_reply.h"
#include "printers/status_rules.h"

namespace {

using namespace vantrel::printers;

void Check(bool condition) {
  if (!condition) std::abort();
}

bool SaysSupported(std::string_view reply) {
  const auto supported = ParseStateNumber(reply.substr(0, reply.find(';')));
  return supported && *supported != 0;
}

void CheckNumber(std::string_view field) {
  const auto number = ParseStateNumber(field);
  if (!number) return;
  const size_t first = field.find_first_not_of('0');
  const std::string_view significant =
      first == std::string_view::npos ? std::string_view("0") : field.substr(first);
  Check(std::to_string(*number) == significant);
}

void CheckSeverity(uint32_t severity) {
  Check(severity >= kSeverityNormal && severity <= kSeverityWarning);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view reply(reinterpret_cast<const char*>(data), size);
  CheckNumber(reply);

  const auto flags = ParseFlagsReply(reply);
  if (flags) {
    Check(SaysSupported(reply));
    CheckSeverity(flags->severity);
    const uint32_t bits = SeverityBits(flags->severity);
    Check((flags->word2 & bits) == bits);
  }
  const auto text = ParseTextReply(reply);
  if (text) {
    Check(SaysSupported(reply));
    CheckSeverity(text->severity);
    const std::string again = "1;" + text->text + ";" + std::to_string(text->severity);
    const auto reread = ParseTextReply(again);
    Check(reread && reread->text == text->text && reread->severity == text->severity);
  }
  if (const auto severity = ParseSeverityReply(reply)) {
    Check(SaysSupported(reply));
    CheckSeverity(*severity);
  }
  // With exactly three fields the flags reader's number is the text reader's
  // text, and both read the same severity.
  if (flags && text && text->text.find(';') == std::string::npos) {
    Check(text->severity == flags->severity);
    const auto number = ParseStateNumber(text->text);
    Check(number && (*number | SeverityBits(flags->severity)) == flags->word2);
  }
  return 0;
}
