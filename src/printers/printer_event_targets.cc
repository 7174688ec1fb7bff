#include "printers/printer_event_targets.h"

#include <algorithm>

namespace vantrel::printers {

bool EventTargetList::Add(PrinterEventTarget* target) {
  MutexLock lock(mutex_);
  if (std::find(targets_.begin(), targets_.end(), target) != targets_.end()) return false;
  targets_.push_back(target);
  return true;
}

bool EventTargetList::Remove(PrinterEventTarget* target) {
  MutexLock lock(mutex_);
  const auto found = std::find(targets_.begin(), targets_.end(), target);
  if (found == targets_.end()) return false;
  targets_.erase(found);
  return true;
}

bool EventTargetList::Contains(PrinterEventTarget* target) {
  MutexLock lock(mutex_);
  return std::find(targets_.begin(), targets_.end(), target) != targets_.end();
}

size_t EventTargetList::size() {
  MutexLock lock(mutex_);
  return targets_.size();
}

std::vector<RetainedTarget> EventTargetList::Retain() {
  std::vector<RetainedTarget> retained;
  MutexLock lock(mutex_);
  retained.reserve(targets_.size());
  // Under the lock: a target whose count reached zero is still listed until
  // it removes itself, and TryRetain refuses it meanwhile.
  for (PrinterEventTarget* target : targets_)
    if (target->TryRetain()) retained.emplace_back(target);
  return retained;
}

}  // namespace vantrel::printers
