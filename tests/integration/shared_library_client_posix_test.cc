// A plain C client of libvantrel.so: it knows only the COM binary layout and
// reports each class it could not create, use or release.
#include <gtest/gtest.h>

#include <memory>

#include "platform/process.h"

namespace vantrel {
namespace {

TEST(SharedLibraryClientTest, PlainCClientCreatesEveryClassThroughTheSharedLibrary) {
  std::unique_ptr<platform::ChildProcess> child;
  ASSERT_EQ(platform::StartProcess(VANTREL_C_CLIENT, {VANTREL_SHARED_LIBRARY}, &child), 0);
  int failures = -1;
  ASSERT_TRUE(child->Wait(60000, &failures));
  EXPECT_EQ(failures, 0);  // the client prints what failed
}

}  // namespace
}  // namespace vantrel
