// Feeds arbitrary bytes, split at a point the input chooses, to the reader of
// the XPML service's replies. It must end complete or failed without reading
// out of bounds or growing past its limits.
#include <cstddef>
#include <cstdint>
#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "support/http_message.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const size_t split = data[0] % size;
  std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  vantrel::HttpMessageReader reader;
  reader.Feed(bytes.substr(0, split));
  reader.Feed(bytes.substr(std::min(split, bytes.size())));
  const auto state = reader.Finish();
  if (state == vantrel::HttpMessageReader::State::kComplete &&
      reader.message().body.size() > vantrel::kHttpMaxBodyBytes) {
    std::abort();
  }
  return 0;
}
