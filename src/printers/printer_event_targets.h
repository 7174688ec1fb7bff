// The objects of one printer that its watcher fires events to. The list holds
// no reference: an object leaves it on its last sink and before it is
// destroyed, and the watcher takes a reference of its own, under the list's
// lock, only from an object whose count has not yet reached zero, then fires
// with no lock held.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/thread_annotations.h"

namespace vantrel::printers {

class PrinterEventTarget {
 public:
  // One more reference, unless the last one is already gone (the object is
  // being destroyed and leaves the list itself). Never blocks; any thread.
  virtual bool TryRetain() = 0;
  // Drops a reference TryRetain took; may destroy the object.
  virtual void Unretain() = 0;

 protected:
  ~PrinterEventTarget() = default;
};

// A target with a reference of its own, dropped when this goes.
class RetainedTarget {
 public:
  explicit RetainedTarget(PrinterEventTarget* target) : target_(target) {}
  ~RetainedTarget() {
    if (target_ != nullptr) target_->Unretain();
  }
  RetainedTarget(RetainedTarget&& other) noexcept : target_(other.target_) {
    other.target_ = nullptr;
  }
  RetainedTarget(const RetainedTarget&) = delete;
  RetainedTarget& operator=(const RetainedTarget&) = delete;
  RetainedTarget& operator=(RetainedTarget&&) = delete;

  PrinterEventTarget* get() const { return target_; }

 private:
  PrinterEventTarget* target_;
};

class EventTargetList {
 public:
  // Each true when the list changed; a target is listed at most once. Any thread.
  bool Add(PrinterEventTarget* target);
  bool Remove(PrinterEventTarget* target);
  bool Contains(PrinterEventTarget* target);
  size_t size();

  // The listed targets still alive, each with a reference for the caller, in
  // the order they were added. The caller fires to them after this returns,
  // with no lock of the list held. Any thread.
  std::vector<RetainedTarget> Retain();

 private:
  Mutex mutex_;
  std::vector<PrinterEventTarget*> targets_ GUARDED_BY(mutex_);
};

}  // namespace vantrel::printers
