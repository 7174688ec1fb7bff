// Windows: a mutex name in a namespace that does not exist cannot be created.
#include <gtest/gtest.h>

#include "platform/win32_errors.h"
#include "support/exceptions.h"
#include "support/synchronizer.h"

namespace vantrel {
namespace {

TEST(SynchronizerWinTest, MutexThatCannotBeCreatedThrowsOnEveryLock) {
  OMutex mutex("NoSuchNamespace\\vantrel-test");
  for (int attempt = 0; attempt < 2; ++attempt) {
    try {
      mutex.Lock();
      FAIL() << "no exception";
    } catch (const OException& e) {
      EXPECT_EQ(e.error(), platform::kErrorPathNotFound);
      EXPECT_FALSE(e.message().empty());
    }
  }
  EXPECT_THROW(mutex.TryLock(), OException);
  mutex.Unlock();  // nothing was created: nothing to release
}

}  // namespace
}  // namespace vantrel
