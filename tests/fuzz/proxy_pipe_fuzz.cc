// Feeds arbitrary bytes to the serving side of the driver proxy pipe, as a
// library (or anything else able to open the pipe) might send them: every
// call must be read whole or refused, never read past what arrived.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "support/pipe_wire.h"

namespace {

class BytesStream : public vantrel::PipeByteStream {
 public:
  BytesStream(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  vantrel::platform::PlatformResult Write(const void*, size_t, size_t* written) override {
    *written = 0;
    return 0;
  }
  vantrel::platform::PlatformResult Read(void* out, size_t size, size_t* read) override {
    *read = std::min(size, size_ - offset_);
    std::memcpy(out, data_ + offset_, *read);
    offset_ += *read;
    return 0;
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t offset_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  BytesStream stream(data, size);
  vantrel::PipeCall call;
  while (vantrel::ReadPipeCall(stream, &call) == vantrel::PipeReadResult::kCall) {
    const std::string_view signature = vantrel::PipeCallSignature(call.entry);
    if (signature.empty() || call.texts.size() + call.numbers.size() != signature.size()) {
      std::abort();
    }
  }
  return 0;
}
