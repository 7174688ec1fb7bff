// The socket manager's lazy closer failing in a process of its own, whose
// process log the test reads afterwards.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "driver/tcp_socket_manager.h"
#include "integration/worker.h"
#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/folders.h"
#include "support/event_log.h"
#include "support/exceptions.h"

namespace vantrel {
namespace {

// In a process of its own whose process log is in args[0]: a closer whose
// wait fails. Exits 0 once its manager no longer counts it as running (so
// that the next user would start a new one).
VANTREL_TEST_WORKER(failing_closer) {
  platform::SetEnvironmentValue("VANTREL_LOG_DIR", args.at(0));
  platform::SetEnvironmentValue("VANTREL_HOME", args.at(0));
  const std::string log_file = OEventLog::Process()->FilePath();
  TCPSocketManagerHooks hooks = TCPSocketManagerHooks::Platform();
  hooks.log = nullptr;
  hooks.wait = [](uint32_t) -> bool { throw OStdException("closer wait failed", VANTREL_ORIGIN); };
  auto manager = TCPSocketManager::Create(hooks);
  manager->Obtain();
  // The frame reports after the manager has let the closer go.
  const auto reported = [&] {
    std::stringstream text;
    text << std::ifstream(log_file).rdbuf();
    return text.str().find("Caught in [") != std::string::npos;
  };
  for (int i = 0; i < 1000 && (manager->IsCloserRunning() || !reported()); ++i)
    platform::SleepMilliseconds(10);
  return manager->IsCloserRunning() ? 1 : 0;
}

TEST(TcpSocketManagerProcessTest, CloserFailureIsReportedUnderItsOwnThreadProcedure) {
  const std::filesystem::path folder = std::filesystem::temp_directory_path() /
                                       ("vantrel-closer-" + std::to_string(std::random_device()()));
  const auto previous = platform::EnvironmentValue("VANTREL_LOG_DIR");
  platform::SetEnvironmentValue("VANTREL_LOG_DIR", folder.string());
  const bool log_dir_honoured = platform::LogFolder() == folder.string();
  if (previous) {
    platform::SetEnvironmentValue("VANTREL_LOG_DIR", *previous);
  } else {
    platform::RemoveEnvironmentValue("VANTREL_LOG_DIR");
  }
  if (!log_dir_honoured) GTEST_SKIP() << "the log folder is fixed on this platform";

  auto worker = testing::StartWorker("failing_closer", {folder.string()});
  ASSERT_TRUE(worker);
  EXPECT_EQ(testing::WaitForWorker(*worker), 0)
      << "the manager still counts the failed closer as running";
  std::ifstream file(folder / "Marlock_Vantrel_V3.txt");
  std::stringstream text;
  text << file.rdbuf();
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  EXPECT_NE(text.str().find("Caught in [TCPLazyCloseThread::ThreadProc]"), std::string::npos)
      << text.str();
  EXPECT_NE(text.str().find("closer wait failed"), std::string::npos) << text.str();
}

}  // namespace
}  // namespace vantrel
