// Worker processes for tests that need several processes: the test program
// starts itself again with "--worker=NAME ARGS..." and main() runs the worker
// registered under NAME instead of the tests.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/process.h"

namespace vantrel::testing {

using WorkerFunction = int (*)(const std::vector<std::string>& args);

struct WorkerRegistration {
  WorkerRegistration(const char* name, WorkerFunction function);
};

// Runs the worker named by argv[1] ("--worker=NAME") if there is one; returns
// true and sets `exit_code` when it did.
bool RunWorkerFromCommandLine(int argc, char** argv, int* exit_code);

// Starts this test program as the worker `name`. Fails the current test and
// returns null when it cannot start.
std::unique_ptr<platform::ChildProcess> StartWorker(const std::string& name,
                                                    const std::vector<std::string>& args);

// Waits for a worker and returns its exit status, or -1 after `timeout_ms`
// (the worker is then killed).
int WaitForWorker(platform::ChildProcess& worker, uint32_t timeout_ms = 120000);

}  // namespace vantrel::testing

// Defines a worker: VANTREL_TEST_WORKER(store_writer) { ... return 0; }
// The body sees `args`; its return value is the process's exit status.
#define VANTREL_TEST_WORKER(name)                                                               \
  static int name##_worker_body(const std::vector<std::string>& args);                          \
  static ::vantrel::testing::WorkerRegistration name##_worker_registration(#name,               \
                                                                           name##_worker_body); \
  static int name##_worker_body(const std::vector<std::string>& args)
