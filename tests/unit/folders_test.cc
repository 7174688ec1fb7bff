#include "platform/folders.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "unit/scratch.h"

namespace vantrel::platform {
namespace {

namespace fs = std::filesystem;

TEST(FoldersTest, CreateFoldersMakesEveryMissingLevel) {
  testing::ScratchFolder scratch;
  const std::string deep = JoinPath(JoinPath(scratch.path().string(), "a b"), "c");
  EXPECT_TRUE(CreateFolders(deep));
  EXPECT_TRUE(fs::is_directory(deep));
  EXPECT_TRUE(CreateFolders(deep)) << "an existing folder is fine";

  const std::string file = JoinPath(scratch.path().string(), "file");
  std::ofstream(file) << "x";
  EXPECT_FALSE(CreateFolders(JoinPath(file, "below")));
  EXPECT_FALSE(CreateFolders(""));
}

TEST(FoldersTest, JoinPathAddsOneSeparator) {
  const std::string joined = JoinPath("folder", "name");
  ASSERT_EQ(joined.size(), 11u);
  EXPECT_EQ(JoinPath(joined.substr(0, 7), "name"), joined) << "separator already there";
  EXPECT_EQ(JoinPath("", "name"), "name");
}

TEST(FoldersTest, LogFolderHasNoTrailingSeparator) {
  const std::string folder = LogFolder();
  ASSERT_FALSE(folder.empty());
  EXPECT_NE(folder.back(), '/');
  EXPECT_NE(folder.back(), '\\');
}

}  // namespace
}  // namespace vantrel::platform
