#include "platform/file_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/platform_error.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

class PosixFileReader : public FileReader {
 public:
  PosixFileReader(int fd, uint64_t size) : fd_(fd), size_(size) {}
  ~PosixFileReader() override { close(fd_); }

  PlatformResult Read(void* buffer, size_t capacity, size_t* read) override {
    *read = 0;
    for (;;) {
      const ssize_t got = ::read(fd_, buffer, capacity);
      if (got >= 0) {
        *read = static_cast<size_t>(got);
        return kErrorSuccess;
      }
      if (errno != EINTR) return LastPlatformError();
    }
  }

  uint64_t size() const override { return size_; }

 private:
  const int fd_;
  const uint64_t size_;
};

}  // namespace

PlatformResult OpenFileReader(const std::string& path, std::unique_ptr<FileReader>* reader) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return LastPlatformError();
  struct stat info {};
  if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    // A folder or a device is no file to print (Windows refuses to open a
    // folder this way with access denied).
    const long error = S_ISREG(info.st_mode) ? LastPlatformError() : kErrorAccessDenied;
    close(fd);
    return error;
  }
  posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
  *reader = std::make_unique<PosixFileReader>(fd, static_cast<uint64_t>(info.st_size));
  return kErrorSuccess;
}

}  // namespace vantrel::platform
