// CVantrelModule: the one process-wide record of the library as an in-process
// server: the count of live objects and server locks that keeps it loaded, its
// own file path, its application and type library identifiers.
#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "automation_runtime.h"
#include "platform/thread_annotations.h"

namespace vantrel::frame {

// The application identifier written by the registration scripts.
extern const char kAppId[];
// The type library identifier, in braces.
extern const char kTypeLibId[];

class CVantrelModule {
 public:
  // Live objects and outstanding LockServer calls. Any thread.
  void Lock() { locks_.fetch_add(1, std::memory_order_relaxed); }
  void Unlock() { locks_.fetch_sub(1, std::memory_order_acq_rel); }
  long LockCount() const { return locks_.load(std::memory_order_acquire); }

  // The path of the binary holding the library, as registration writes it.
  std::string ModulePath() const;

  // Serialises the creation of class objects.
  Mutex& critical_section() RETURN_CAPABILITY(critical_section_) { return critical_section_; }

 private:
  // Both members destroy trivially, so an object released by another static
  // destructor after this one still finds a usable module.
  std::atomic<long> locks_{0};
  Mutex critical_section_;
};

// The module of this process. Never destroyed while code of the library runs.
CVantrelModule& Module();

}  // namespace vantrel::frame
