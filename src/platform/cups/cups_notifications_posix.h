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
  // Makes sure the subscription exists, on the caller's thread.
  void Subscribe();
  void Attach(CupsWatch* watch);
  void Detach(CupsWatch* watch);
  void Run();
  void PollOnce();
  bool EnsureSubscription();
  void CancelSubscription();

  struct Touched {
    std::set<std::string> printers;
    std::map<std::string, std::set<uint32_t>> jobs;
    std::vector<std::string> added;
    bool discarded = false;
  };
  bool FetchEvents(Touched* touched);

  Backend& backend_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::vector<CupsWatch*> watches_;  // guarded by mutex_
  bool stopping_ = false;            // guarded by mutex_
  bool running_ = false;             // guarded by mutex_: a poller is looping
  std::thread poller_;               // started with the first watch
  std::mutex subscription_mutex_;    // taken before mutex_, never after it
  int subscription_ = 0;             // guarded by subscription_mutex_
  int subscribers_ = 0;              // guarded by subscription_mutex_: live watches
  int next_sequence_ = 1;            // guarded by subscription_mutex_
  uint64_t renewed_at_ = 0;          // guarded by subscription_mutex_
  bool lost_ = false;                // guarded by subscription_mutex_: events may have been missed
};

}  // namespace vantrel::platform::cups
