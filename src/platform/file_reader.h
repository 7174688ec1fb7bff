// A file read from start to end in pieces, so that its size never has to fit
// in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/win32_errors.h"

namespace vantrel::platform {

class FileReader {
 public:
  virtual ~FileReader() = default;

  // Reads up to `capacity` bytes into `buffer`; `*read` is 0 at the end of
  // the file. A Windows error number on failure. Blocks on the file; one
  // thread at a time.
  virtual PlatformResult Read(void* buffer, size_t capacity, size_t* read) = 0;
  // The file's size when it was opened.
  virtual uint64_t size() const = 0;
};

// Opens `path` for reading while letting others read and write it. A Windows
// error number (kErrorFileNotFound, kErrorPathNotFound, kErrorAccessDenied,
// kErrorSharingViolation ...) when it cannot be opened or is not a regular
// file; on success `reader` is set. Any thread.
PlatformResult OpenFileReader(const std::string& path, std::unique_ptr<FileReader>* reader);

}  // namespace vantrel::platform
