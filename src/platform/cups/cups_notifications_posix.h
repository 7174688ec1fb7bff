// Change notifications from CUPS: one server-wide pull subscription per
// backend, polled every 50 ms while any watch exists, its events filtered by
// printer and turned into batches of the fields each watch registered. A gap
// in the event sequence, a lost subscription or a scheduler restart becomes a
// batch with the discarded flag.
#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/spooler.h"
#include "platform/thread_annotations.h"

namespace vantrel::platform::cups {

class Backend;
class CupsWatch;

class NotificationHub {
 public:
  explicit NotificationHub(Backend& backend);
  ~NotificationHub();  // stops polling; watches must be gone

  // A watch of `printer` ("" for the printer list). Never fails: a scheduler
  // that cannot be reached now is retried on every poll.
  std::unique_ptr<ChangeWatch> Watch(const std::string& printer, const NotifyFields& fields);

  static constexpr int kPollMs = 50;

 private:
  friend class CupsWatch;
  friend class CupsWatchHandle;
  // Makes sure the subscription exists, on the caller's thread.
  void Subscribe() EXCLUDES(subscription_mutex_);
  void Attach(std::shared_ptr<CupsWatch> watch) EXCLUDES(mutex_);
  void Detach(const CupsWatch* watch) EXCLUDES(subscription_mutex_, mutex_);
  void Run() EXCLUDES(mutex_);
  // One round: fetches the events, then updates each watch with the hub lock
  // released (updating sends requests to the scheduler).
  void PollOnce() EXCLUDES(mutex_, subscription_mutex_);
  std::vector<std::shared_ptr<CupsWatch>> AttachedWatches() EXCLUDES(mutex_);
  bool EnsureSubscription() REQUIRES(subscription_mutex_);
  void CancelSubscription() EXCLUDES(subscription_mutex_);

  struct Touched {
    std::set<std::string> printers;
    std::map<std::string, std::set<uint32_t>> jobs;
    std::vector<std::string> added;
    bool discarded = false;
  };
  bool FetchEvents(Touched* touched) EXCLUDES(subscription_mutex_);

  Backend& backend_;
  // Held for the requests of the subscription protocol (create, renew,
  // fetch, cancel): they must not interleave.
  Mutex subscription_mutex_;
  // Held only to read or change the list of watches and the poller's state;
  // never during a request.
  Mutex mutex_ ACQUIRED_AFTER(subscription_mutex_);
  std::condition_variable wake_;
  // Shared with the poller, which updates a copy of the list without the
  // lock: a watch detached meanwhile lives until that update ends.
  std::vector<std::shared_ptr<CupsWatch>> watches_ GUARDED_BY(mutex_);
  bool stopping_ GUARDED_BY(mutex_) = false;
  bool running_ GUARDED_BY(mutex_) = false;  // a poller is looping
  std::thread poller_ GUARDED_BY(mutex_);    // started with the first watch
  int subscription_ GUARDED_BY(subscription_mutex_) = 0;
  int subscribers_ GUARDED_BY(subscription_mutex_) = 0;  // live watches
  int next_sequence_ GUARDED_BY(subscription_mutex_) = 1;
  uint64_t renewed_at_ GUARDED_BY(subscription_mutex_) = 0;
  // Events may have been missed.
  bool lost_ GUARDED_BY(subscription_mutex_) = false;
};

}  // namespace vantrel::platform::cups
