#include "platform/process.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/clock.h"
#include "platform/folders.h"
#include "platform/named_mutex.h"
#include "platform/win32_errors.h"
#include "integration/worker.h"

namespace vantrel::platform {
namespace {

// Arguments that command-line quoting gets wrong most easily.
const std::vector<std::string> kAwkwardArguments = {
    "",      "two words",  "quote\"inside", "trailing\\", "back\\\\slash\\\"quote",
    "\ttab", "end space ", "caf\xC3\xA9",
};

// Exits 0 when it received kAwkwardArguments unchanged, as UTF-8.
VANTREL_TEST_WORKER(argument_checker) {
  const std::vector<std::string> all = ProcessArguments();
  if (all.size() < 2 || all[1] != "--worker=argument_checker") return 2;
  return std::vector<std::string>(all.begin() + 2, all.end()) == kAwkwardArguments ? 0 : 1;
}

// Exits with the status given as its argument, after the given pause in ms.
VANTREL_TEST_WORKER(exit_with) {
  if (args.size() != 2) return 90;
  SleepMilliseconds(static_cast<uint32_t>(std::stoul(args[1])));
  return std::stoi(args[0]);
}

std::unique_ptr<ChildProcess> StartSelf(const std::vector<std::string>& args) {
  std::unique_ptr<ChildProcess> child;
  EXPECT_EQ(StartProcess(CurrentExecutablePath(), args, &child), kErrorSuccess);
  return child;
}

TEST(ProcessTest, ChildGetsItsArgumentsUnchanged) {
  std::vector<std::string> args{"--worker=argument_checker"};
  args.insert(args.end(), kAwkwardArguments.begin(), kAwkwardArguments.end());
  auto child = StartSelf(args);
  ASSERT_NE(child, nullptr);
  int status = -1;
  ASSERT_TRUE(child->Wait(60000, &status));
  EXPECT_EQ(status, 0);
}

TEST(ProcessTest, WaitReportsTheExitStatusOrGivesUpAfterItsTimeOut) {
  auto quick = StartSelf({"--worker=exit_with", "7", "0"});
  auto slow = StartSelf({"--worker=exit_with", "0", "60000"});
  ASSERT_TRUE(quick && slow);
  int status = -1;
  ASSERT_TRUE(quick->Wait(60000, &status));
  EXPECT_EQ(status, 7);
  EXPECT_NE(quick->Id(), slow->Id());

  const uint64_t start = TickCount64();
  EXPECT_FALSE(slow->Wait(100, &status));
  EXPECT_GE(TickCount64() - start, 90u);
  EXPECT_TRUE(slow->Kill());
  ASSERT_TRUE(slow->Wait(10000, &status));
  EXPECT_NE(status, 0);
}

TEST(ProcessTest, MissingProgramIsReportedAsFileNotFound) {
  std::unique_ptr<ChildProcess> child;
  const std::string missing =
      (std::filesystem::temp_directory_path() / "vantrel-no-such-program").string();
  EXPECT_EQ(StartProcess(missing, {}, &child), kErrorFileNotFound);
  EXPECT_EQ(child, nullptr);
}

TEST(ProcessTest, ModuleNameIsTheLastPartOfTheExecutablePath) {
  const std::string path = CurrentExecutablePath();
  const std::string name = ProcessModuleName();
  EXPECT_NE(name.find("vantrel_integration_tests"), std::string::npos) << name;
  ASSERT_GT(path.size(), name.size());
  EXPECT_EQ(path.substr(path.size() - name.size()), name);
  EXPECT_TRUE(path[path.size() - name.size() - 1] == '/' ||
              path[path.size() - name.size() - 1] == '\\');
}

}  // namespace
}  // namespace vantrel::platform
