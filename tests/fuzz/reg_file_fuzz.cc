// Parses arbitrary bytes as a .reg file; whatever parses must write back and
// parse again to the same sections, in both output encodings.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "support/reg_file.h"

namespace {

void CheckRoundTrip(const vantrel::RegFile& original, vantrel::RegFileEncoding encoding) {
  vantrel::RegFile again;
  std::string error;
  if (!vantrel::ParseRegFile(vantrel::EncodeRegFile(original, encoding), &again, &error)) {
    std::fprintf(stderr, "written file does not parse: %s\n", error.c_str());
    std::abort();
  }
  if (!(again == original)) {
    std::fprintf(stderr, "written file parses to other sections\n");
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  vantrel::RegFile file;
  std::string error;
  if (!vantrel::ParseRegFile(bytes, &file, &error)) {
    if (error.empty() || error.find('\n') != std::string::npos) std::abort();
    return 0;
  }
  CheckRoundTrip(file, vantrel::RegFileEncoding::kUtf16WithBom);
  CheckRoundTrip(file, vantrel::RegFileEncoding::kUtf8);
  return 0;
}
