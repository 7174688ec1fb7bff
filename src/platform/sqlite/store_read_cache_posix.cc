#include "platform/sqlite/store_read_cache_posix.h"

#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

bool IsSettled(long error) {
  return error == kErrorSuccess || error == kErrorFileNotFound || error == kErrorKeyDeleted;
}

}  // namespace

void StoreReadCache::ForgetIfStaleLocked(uint64_t stamp) {
  if (stamp == stamp_) return;
  answers_.clear();
  stamp_ = stamp;
}

bool StoreReadCache::Find(uint64_t stamp, const std::string& memo_key, StoreReadAnswer* answer) {
  MutexLock hold(mutex_);
  ForgetIfStaleLocked(stamp);
  const auto found = answers_.find(memo_key);
  if (found == answers_.end()) return false;
  *answer = found->second;
  return true;
}

void StoreReadCache::Remember(uint64_t stamp, const std::string& memo_key,
                              const StoreReadAnswer& answer) {
  if (!IsSettled(answer.error)) return;
  MutexLock hold(mutex_);
  // Read under an older count: a write may have landed since, so the answer
  // may already be stale. Under a newer one, everything held is stale.
  if (stamp < stamp_) return;
  ForgetIfStaleLocked(stamp);
  if (answers_.size() >= kMostAnswers) answers_.clear();
  answers_[memo_key] = answer;
}

}  // namespace vantrel::platform
