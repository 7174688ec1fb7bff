// A named mutex is a lock file in the runtime folder. Two byte-range locks on
// open file descriptions (released by the kernel when the holder dies) carry
// its state:
//   byte 0, exclusive: held by the process that holds the mutex;
//   byte 1, shared:    held by every process that has the mutex open.
// While held, the file's first bytes hold the holder's process id; Release
// clears them. A waiter that finds an id left behind knows the holder died:
// abandoned. Every process maps those bytes, so taking and releasing the
// mutex costs two byte-lock calls and no file writes. As a
// Windows mutex is destroyed with its last handle, the last process to close
// the mutex removes the file, and a process that opens it while nobody else
// has it open forgets an id left by a dead process.
//
// Byte-range locks belong to the open file description, so a process opens
// each name once (a table by name) and lets one thread at a time take the
// file lock; the threads of one process queue on an in-process gate that also
// counts the owner's recursion.
#include "platform/platform_error.h"
#include "platform/named_mutex.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <map>
#include <thread>

#include "platform/clock.h"
#include "platform/folders.h"
#include "platform/native_thread.h"
#include "platform/platform_error_posix.h"
#include "platform/win32_errors.h"
#include "platform/thread_annotations.h"

namespace vantrel::platform {
namespace {

constexpr off_t kHolderByte = 0;
constexpr off_t kPresenceByte = 1;
constexpr size_t kLongestEncodedName = 200;
constexpr uint32_t kLongestPollMs = 10;

using SteadyClock = std::chrono::steady_clock;

class Deadline {
 public:
  explicit Deadline(uint32_t timeout_ms)
      : infinite_(timeout_ms == kInfiniteWait),
        at_(SteadyClock::now() + std::chrono::milliseconds(infinite_ ? 0 : timeout_ms)) {}

  bool infinite() const { return infinite_; }
  SteadyClock::time_point at() const { return at_; }
  bool Passed() const { return !infinite_ && SteadyClock::now() >= at_; }
  // Milliseconds left, at most `cap`.
  uint32_t RemainingMs(uint32_t cap) const {
    if (infinite_) return cap;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(at_ - SteadyClock::now());
    return left.count() <= 0 ? 0 : static_cast<uint32_t>(std::min<int64_t>(left.count(), cap));
  }

 private:
  const bool infinite_;
  const SteadyClock::time_point at_;
};

// Ownership among the threads of this process: at most one thread owns the
// gate, either while it takes the file lock or while it holds the mutex.
class OwnerGate {
 public:
  // True, counting one more level, when the calling thread holds the mutex.
  bool TryReenter() {
    MutexLock hold(mutex_);
    if (owner_ != std::this_thread::get_id() || depth_ == 0) return false;
    ++depth_;
    return true;
  }

  // Waits until no other thread owns the gate and takes it. False on time-out.
  bool Claim(const Deadline& deadline) {
    MutexLock hold(mutex_);
    while (owner_ != std::thread::id()) {
      if (deadline.infinite()) {
        hold.Wait(released_);
      } else if (!hold.WaitUntil(released_, deadline.at()) && owner_ != std::thread::id()) {
        return false;
      }
    }
    owner_ = std::this_thread::get_id();
    depth_ = 0;
    return true;
  }

  // After Claim: the mutex is now held.
  void Confirm() {
    MutexLock hold(mutex_);
    depth_ = 1;
  }

  // Drops one level. False when the calling thread does not hold the mutex;
  // `last` tells whether that was the outermost level (the gate stays owned
  // until Free).
  bool Leave(bool* last) {
    MutexLock hold(mutex_);
    if (owner_ != std::this_thread::get_id() || depth_ == 0) return false;
    *last = --depth_ == 0;
    return true;
  }

  void Free() {
    {
      MutexLock hold(mutex_);
      owner_ = std::thread::id();
      depth_ = 0;
    }
    released_.notify_one();
  }

 private:
  Mutex mutex_;
  std::condition_variable released_;
  std::thread::id owner_ GUARDED_BY(mutex_);
  uint32_t depth_ GUARDED_BY(mutex_) = 0;
};

bool LockByte(int fd, short type, off_t byte, bool wait) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = byte;
  range.l_len = 1;
  for (;;) {
    if (fcntl(fd, wait ? F_OFD_SETLKW : F_OFD_SETLK, &range) == 0) return true;
    if (errno != EINTR) return false;
  }
}

// The bytes at the start of the file that name the holder: its process id in
// decimal and a newline, then zeros. All zeros: nobody holds it.
constexpr size_t kHolderRecordSize = 32;

// Empties the file and gives it the holder record's size, all zeros. Only
// while no other process has the file open.
bool ResetFile(int fd) { return ftruncate(fd, 0) == 0 && ftruncate(fd, kHolderRecordSize) == 0; }

// Extends a file left shorter (by a dead process between its two truncations)
// to the record's size; extending only adds zeros, so a concurrent opener
// loses nothing.
bool HasRoomForRecord(int fd) {
  struct stat info {};
  if (fstat(fd, &info) != 0) return false;
  return static_cast<size_t>(info.st_size) >= kHolderRecordSize ||
         ftruncate(fd, kHolderRecordSize) == 0;
}

char* MapHolderRecord(int fd) {
  void* mapped = mmap(nullptr, kHolderRecordSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  return mapped == MAP_FAILED ? nullptr : static_cast<char*>(mapped);
}

// The byte lock orders these accesses between processes: only the holder of
// byte 0 reads or writes the record.
void RecordHolder(char* record) {
  const std::string holder = std::to_string(getpid()) + "\n";
  std::memset(record, 0, kHolderRecordSize);
  std::memcpy(record, holder.data(), std::min(holder.size(), kHolderRecordSize));
}

void ClearHolder(char* record) { std::memset(record, 0, kHolderRecordSize); }

bool HolderLeftBehind(const char* record) { return record[0] != '\0'; }

bool IsContention(int error) { return error == EAGAIN || error == EACCES; }

std::string EncodeName(const std::string& name) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '-' || c == '_' || (c == '.' && !encoded.empty());
    if (plain) {
      encoded += c;
    } else {
      encoded += '%';
      encoded += kHex[byte >> 4];
      encoded += kHex[byte & 0xF];
    }
  }
  if (encoded.size() <= kLongestEncodedName) return encoded;
  // Too long for a file name: keep a readable prefix and make it unique with a hash.
  uint64_t hash = 0xcbf29ce484222325ull;  // FNV-1a
  for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3ull;
  std::string suffix = "~";
  for (int shift = 60; shift >= 0; shift -= 4) suffix += kHex[(hash >> shift) & 0xF];
  return encoded.substr(0, kLongestEncodedName - suffix.size()) + suffix;
}

std::string RuntimeFolder() {
  const char* configured = std::getenv("VANTREL_RUNTIME_DIR");
  return configured != nullptr && *configured != '\0' ? configured : "/tmp/vantrel-locks";
}

// Creates the runtime folder for every user: world-writable with the sticky
// bit, as /tmp is, so that users cannot remove each other's lock files.
long PrepareRuntimeFolder(const std::string& folder) {
  if (mkdir(folder.c_str(), 01777) == 0) {
    chmod(folder.c_str(), 01777);  // mkdir applies the umask
    return kErrorSuccess;
  }
  if (errno == EEXIST) return kErrorSuccess;
  if (errno != ENOENT) return LastPlatformError();
  const size_t slash = folder.find_last_of('/');
  if (slash == std::string::npos || slash == 0 || !CreateFolders(folder.substr(0, slash))) {
    return kErrorPathNotFound;
  }
  if (mkdir(folder.c_str(), 01777) != 0 && errno != EEXIST) return LastPlatformError();
  chmod(folder.c_str(), 01777);
  return kErrorSuccess;
}

// The process-wide state of one mutex; fd is -1 for a private mutex.
struct SharedLock {
  std::string name;
  std::string path;
  int fd = -1;
  char* record = nullptr;  // the mapped holder record; null for a private mutex
  OwnerGate gate;
};

// Registers this process as a user of the lock file; when it is the only one,
// a holder id left by a dead process is stale and is removed.
bool AnnouncePresence(int fd) {
  if (!LockByte(fd, F_RDLCK, kPresenceByte, /*wait=*/true)) return false;
  if (LockByte(fd, F_WRLCK, kPresenceByte, /*wait=*/false)) {
    if (!ResetFile(fd)) return false;
    return LockByte(fd, F_RDLCK, kPresenceByte, /*wait=*/false);
  }
  return IsContention(errno);
}

// True when `fd` is still the file at `path`: the last user of a lock file
// removes it, and an opener that raced with the removal must open again.
bool IsFileAt(int fd, const std::string& path) {
  struct stat opened {
  }, named{};
  return fstat(fd, &opened) == 0 && lstat(path.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

long OpenLockFile(const std::string& path, int* fd, char** record) {
  for (int attempt = 0; attempt < 100; ++attempt) {
    *fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (*fd < 0) return LastPlatformError();
    fchmod(*fd, 0666);  // every user may take it; fails harmlessly on another user's file
    if (!AnnouncePresence(*fd) || !HasRoomForRecord(*fd)) {
      const long error = LastPlatformError();
      close(*fd);
      return error;
    }
    if (IsFileAt(*fd, path)) {
      *record = MapHolderRecord(*fd);
      if (*record != nullptr) return kErrorSuccess;
      const long error = LastPlatformError();
      close(*fd);
      return error;
    }
    close(*fd);
  }
  return kErrorBusy;
}

// Removes the lock file when no other process has it open, so that the
// runtime folder keeps only the files in use (and those of dead processes).
void CloseLockFile(int fd, char* record, const std::string& path) {
  munmap(record, kHolderRecordSize);
  if (LockByte(fd, F_WRLCK, kPresenceByte, /*wait=*/false)) unlink(path.c_str());
  close(fd);
}

// One SharedLock per name in this process. The deleter removes an entry under
// the table's lock, unless a newer opener has already replaced it.
class LockTable {
 public:
  static LockTable& Instance() {
    static LockTable* table = new LockTable();  // never destroyed: used until exit
    return *table;
  }

  long Open(const std::string& name, std::shared_ptr<SharedLock>* lock) {
    MutexLock hold(mutex_);
    if (auto existing = locks_[name].lock()) {
      *lock = std::move(existing);
      return kErrorSuccess;
    }
    const std::string folder = RuntimeFolder();
    long error = PrepareRuntimeFolder(folder);
    const std::string path = JoinPath(folder, EncodeName(name) + ".lock");
    int fd = -1;
    char* record = nullptr;
    if (error == kErrorSuccess) error = OpenLockFile(path, &fd, &record);
    if (error != kErrorSuccess) {
      locks_.erase(name);
      return error;
    }
    auto* shared = new SharedLock{name, path, fd, record, {}};
    *lock = std::shared_ptr<SharedLock>(shared, [this](SharedLock* dying) { Close(dying); });
    locks_[name] = *lock;
    return kErrorSuccess;
  }

 private:
  void Close(SharedLock* dying) {
    MutexLock hold(mutex_);
    const auto found = locks_.find(dying->name);
    if (found != locks_.end() && found->second.expired()) locks_.erase(found);
    // Closing drops both byte locks; a holder id still in the file makes the
    // next acquirer see the mutex as abandoned.
    CloseLockFile(dying->fd, dying->record, dying->path);
    delete dying;
  }

  Mutex mutex_;
  std::map<std::string, std::weak_ptr<SharedLock>> locks_ GUARDED_BY(mutex_);
};

class PosixNamedMutex : public NamedMutex {
 public:
  explicit PosixNamedMutex(std::shared_ptr<SharedLock> lock) : lock_(std::move(lock)) {}

  WaitResult Wait(uint32_t timeout_ms) override {
    const Deadline deadline(timeout_ms);
    if (lock_->gate.TryReenter()) return WaitResult::kAcquired;
    if (!lock_->gate.Claim(deadline)) return WaitResult::kTimeout;
    const WaitResult result = lock_->fd < 0 ? WaitResult::kAcquired : LockFile(deadline);
    if (result == WaitResult::kAcquired || result == WaitResult::kAbandoned) {
      lock_->gate.Confirm();
    } else {
      lock_->gate.Free();
    }
    return result;
  }

  bool Release() override {
    bool last = false;
    if (!lock_->gate.Leave(&last)) return false;
    if (!last) return true;
    // Clear and unlock before another thread of this process may take the gate:
    // it shares the descriptor, so its lock request would succeed at once.
    if (lock_->fd >= 0) {
      ClearHolder(lock_->record);
      LockByte(lock_->fd, F_UNLCK, kHolderByte, /*wait=*/false);
    }
    lock_->gate.Free();
    return true;
  }

 private:
  // Polls the holder byte until the deadline, then records this process.
  WaitResult LockFile(const Deadline& deadline) {
    uint32_t pause_ms = 1;
    while (!LockByte(lock_->fd, F_WRLCK, kHolderByte, /*wait=*/false)) {
      if (!IsContention(errno)) return WaitResult::kFailed;
      if (deadline.Passed()) return WaitResult::kTimeout;
      SleepMilliseconds(std::max<uint32_t>(1, deadline.RemainingMs(pause_ms)));
      pause_ms = std::min(pause_ms * 2, kLongestPollMs);
    }
    const bool abandoned = HolderLeftBehind(lock_->record);
    RecordHolder(lock_->record);
    return abandoned ? WaitResult::kAbandoned : WaitResult::kAcquired;
  }

  const std::shared_ptr<SharedLock> lock_;
};

}  // namespace

long CreateNamedMutex(const std::string& name, std::unique_ptr<NamedMutex>* mutex) {
  std::shared_ptr<SharedLock> lock;
  if (name.empty()) {
    lock = std::make_shared<SharedLock>();
  } else if (const long error = LockTable::Instance().Open(name, &lock); error != kErrorSuccess) {
    return error;
  }
  *mutex = std::make_unique<PosixNamedMutex>(std::move(lock));
  return kErrorSuccess;
}

}  // namespace vantrel::platform
