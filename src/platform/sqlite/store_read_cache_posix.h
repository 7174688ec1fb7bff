// Linux only: the answers of a store file's reads, remembered while no process
// has written the file since (its change count, change_counter_posix.h, is the
// one they were read under). A warm settings read then costs a map lookup
// instead of a transaction with its file locks.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "platform/registry_value.h"
#include "platform/thread_annotations.h"

namespace vantrel::platform {

// What one read answered: its error, and the key id or value it found.
struct StoreReadAnswer {
  long error = 0;
  int64_t key_id = 0;
  RegistryValue value;
};

class StoreReadCache {
 public:
  // The answer remembered for `memo_key`, when `stamp` is still the change
  // count it was read under. Any thread; never blocks on I/O.
  bool Find(uint64_t stamp, const std::string& memo_key, StoreReadAnswer* answer);
  // Remembers an answer read after `stamp` was taken. Only answers that a
  // repeated read would give again (found, not found, key deleted) are kept;
  // a busy or failing file is asked again next time.
  void Remember(uint64_t stamp, const std::string& memo_key, const StoreReadAnswer& answer);

 private:
  // A settings workload reads a few hundred names; more than this means a
  // scan (an export, an enumeration) whose answers are not worth keeping.
  static constexpr size_t kMostAnswers = 4096;

  // Drops everything remembered under another count.
  void ForgetIfStaleLocked(uint64_t stamp) REQUIRES(mutex_);

  Mutex mutex_;
  uint64_t stamp_ GUARDED_BY(mutex_) = 0;
  std::unordered_map<std::string, StoreReadAnswer> answers_ GUARDED_BY(mutex_);
};

}  // namespace vantrel::platform
