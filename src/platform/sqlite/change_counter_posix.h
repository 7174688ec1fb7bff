// Linux only: a count of the writes made to one store file by every process,
// kept in shared memory so that a reader learns with one memory load whether
// anything it remembered from the file may have changed.
//
// The count lives in a small file beside the database ("<database>-changes")
// that every process maps. Writers bump it twice per transaction: once with
// the write lock held, before changing anything, and once after the commit.
// A reader that notes the count before reading and finds it unchanged later
// therefore knows that no transaction committed in between, and a writer that
// dies between its commit and the second bump has still invalidated every
// answer remembered before its transaction began.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace vantrel::platform {

class ChangeCounter {
 public:
  // Maps the counter of the database at `database_path`. `writable` creates
  // the file when missing (with the database's permission bits, so whoever
  // may write the database may bump it) and maps it for writing. Null when
  // the file cannot be opened or mapped as asked. Blocks on the file system.
  static std::unique_ptr<ChangeCounter> Open(const std::string& database_path, bool writable);
  ~ChangeCounter();
  ChangeCounter(const ChangeCounter&) = delete;
  ChangeCounter& operator=(const ChangeCounter&) = delete;

  // The current count. No system call; any thread.
  uint64_t Read() const;
  // Counts one change. Only on a counter opened writable; any thread.
  void Bump();

 private:
  ChangeCounter(int fd, uint64_t* count);

  const int fd_;
  uint64_t* const count_;  // in the shared mapping; accessed atomically only
};

}  // namespace vantrel::platform
