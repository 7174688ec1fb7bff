#include <gtest/gtest.h>

#include <map>

#include "platform/named_mutex.h"
#include "integration/worker.h"

namespace vantrel::testing {
namespace {

std::map<std::string, WorkerFunction>& Workers() {
  static std::map<std::string, WorkerFunction> workers;
  return workers;
}

constexpr std::string_view kWorkerFlag = "--worker=";

}  // namespace

WorkerRegistration::WorkerRegistration(const char* name, WorkerFunction function) {
  Workers()[name] = function;
}

bool RunWorkerFromCommandLine(int argc, char** argv, int* exit_code) {
  if (argc < 2 || std::string_view(argv[1]).rfind(kWorkerFlag, 0) != 0) return false;
  const std::string name(std::string_view(argv[1]).substr(kWorkerFlag.size()));
  const auto found = Workers().find(name);
  if (found == Workers().end()) {
    fprintf(stderr, "unknown worker %s\n", name.c_str());
    *exit_code = 2;
    return true;
  }
  *exit_code = found->second(std::vector<std::string>(argv + 2, argv + argc));
  return true;
}

std::unique_ptr<platform::ChildProcess> StartWorker(const std::string& name,
                                                    const std::vector<std::string>& args) {
  std::vector<std::string> all{std::string(kWorkerFlag) + name};
  all.insert(all.end(), args.begin(), args.end());
  std::unique_ptr<platform::ChildProcess> child;
  const long error = platform::StartProcess(platform::CurrentExecutablePath(), all, &child);
  EXPECT_EQ(error, 0) << "starting worker " << name;
  return child;
}

int WaitForWorker(platform::ChildProcess& worker, uint32_t timeout_ms) {
  int exit_code = -1;
  if (!worker.Wait(timeout_ms, &exit_code)) {
    worker.Kill();
    worker.Wait(platform::kInfiniteWait, &exit_code);
    return -1;
  }
  return exit_code;
}

}  // namespace vantrel::testing

int main(int argc, char** argv) {
  int exit_code = 0;
  if (vantrel::testing::RunWorkerFromCommandLine(argc, argv, &exit_code)) return exit_code;
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
