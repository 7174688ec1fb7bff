// Feeds arbitrary text, as the scheduler serves a queue's PPD, to the reader
// of its *FileVersion. Beyond not crashing: a version found is one line of
// the text, without quotes or blanks at either end.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/cups/cups_ppd_posix.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

bool Trimmed(char c) { return c == ' ' || c == '\t' || c == '"'; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view ppd(reinterpret_cast<const char*>(data), size);
  const std::string version = vantrel::platform::cups::PpdFileVersion(ppd);
  if (version.empty()) return 0;
  Check(ppd.find(version) != std::string_view::npos);
  Check(version.find_first_of("\r\n") == std::string::npos);
  Check(!Trimmed(version.front()) && !Trimmed(version.back()));
  return 0;
}
