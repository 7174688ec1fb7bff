#include "platform/sqlite/change_counter_posix.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

namespace vantrel::platform {
namespace {

// One page would do; the count takes the first eight bytes.
constexpr size_t kMappedSize = 64;
constexpr mode_t kModeOfNewDatabase = 0644;

mode_t PermissionsOf(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 ? (info.st_mode & 0666) : kModeOfNewDatabase;
}

int OpenCounterFile(const std::string& path, mode_t mode, bool writable) {
  if (!writable) return open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, mode);
  // The umask must not keep another user who may write the database from
  // bumping the count; this fails harmlessly on another user's file.
  if (fd >= 0) fchmod(fd, mode);
  return fd;
}

// Extending only ever adds zeros past the end, so two processes doing it at
// once cannot lose a count.
bool IsLargeEnough(int fd, bool writable) {
  struct stat info {};
  if (fstat(fd, &info) != 0) return false;
  if (static_cast<size_t>(info.st_size) >= kMappedSize) return true;
  return writable && ftruncate(fd, kMappedSize) == 0;
}

}  // namespace

std::unique_ptr<ChangeCounter> ChangeCounter::Open(const std::string& database_path,
                                                   bool writable) {
  const int fd =
      OpenCounterFile(database_path + "-changes", PermissionsOf(database_path), writable);
  if (fd < 0) return nullptr;
  void* mapped = MAP_FAILED;
  if (IsLargeEnough(fd, writable)) {
    const int protection = writable ? PROT_READ | PROT_WRITE : PROT_READ;
    mapped = mmap(nullptr, kMappedSize, protection, MAP_SHARED, fd, 0);
  }
  if (mapped == MAP_FAILED) {
    close(fd);
    return nullptr;
  }
  return std::unique_ptr<ChangeCounter>(new ChangeCounter(fd, static_cast<uint64_t*>(mapped)));
}

ChangeCounter::ChangeCounter(int fd, uint64_t* count) : fd_(fd), count_(count) {}

ChangeCounter::~ChangeCounter() {
  munmap(count_, kMappedSize);
  close(fd_);
}

uint64_t ChangeCounter::Read() const {
  return std::atomic_ref<uint64_t>(*count_).load(std::memory_order_acquire);
}

void ChangeCounter::Bump() {
  std::atomic_ref<uint64_t>(*count_).fetch_add(1, std::memory_order_acq_rel);
}

}  // namespace vantrel::platform
