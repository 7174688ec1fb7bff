// Listing 1,000 CUPS queues with their level-2 fields through the spooler
// interface, against one bare CUPS-Get-Printers request for the same
// attributes on one reused connection, in the same run on the same private
// scheduler. The ratio of the two is the cost of the spooler layer.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "private_scheduler_posix.h"
#include "platform/cups/cups_connection_posix.h"
#include "platform/cups/cups_mapping_posix.h"
#include "platform/settings_store.h"
#include "platform/cups/spooler_cups_posix.h"

namespace {

constexpr int kQueues = 1000;

class Scheduler {
 public:
  Scheduler() {
    dir_ = std::filesystem::temp_directory_path() / "vantrel-bench-cups";
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_ / "cupsd" / "etc");
    std::ofstream conf(dir_ / "cupsd" / "etc" / "printers.conf");
    for (int i = 0; i < kQueues; ++i)
      conf << "<Printer Bench" << i << ">\nInfo Bench queue " << i
           << "\nLocation Rack\nDeviceURI file:///dev/null\nState Idle\nAccepting Yes\n"
              "Shared No\n</Printer>\n";
    conf.close();
    server_ = vantrel::bench::StartPrivateScheduler(dir_ / "cupsd");
    store_ = vantrel::platform::OpenSettingsStoreAt((dir_ / "store").string());
  }
  ~Scheduler() { vantrel::bench::StopPrivateScheduler(dir_ / "cupsd"); }

  const std::string& server() const { return server_; }
  vantrel::platform::SettingsStore* store() { return store_.get(); }

 private:
  std::filesystem::path dir_;
  std::string server_;
  std::unique_ptr<vantrel::platform::SettingsStore> store_;
};

Scheduler& TheScheduler() {
  static Scheduler scheduler;
  return scheduler;
}

void BM_SpoolerEnumPrinters2(benchmark::State& state) {
  auto spooler =
      vantrel::platform::OpenCupsSpooler(TheScheduler().server(), TheScheduler().store());
  std::vector<vantrel::platform::PrinterInfo2> printers;
  for (auto _ : state) {
    if (spooler->EnumPrinters2(vantrel::platform::kEnumLocal, &printers) != 0 ||
        printers.size() != kQueues)
      state.SkipWithError("the listing failed or has the wrong queue count");
  }
}
BENCHMARK(BM_SpoolerEnumPrinters2)->Unit(benchmark::kMillisecond);

void BM_OneCupsGetPrintersRequest(benchmark::State& state) {
  using namespace vantrel::platform::cups;
  ConnectionPool pool(TheScheduler().server());
  http_t* http = pool.Take();
  for (auto _ : state) {
    ipp_t* request = ippNewRequest(IPP_OP_CUPS_GET_PRINTERS);
    AddRequestedAttributes(request, kPrinter2Attributes, kPrinter2AttributeCount);
    ipp_t* response = cupsDoRequest(http, request, "/");
    benchmark::DoNotOptimize(response);
    ippDelete(response);
  }
  pool.Put(http);
}
BENCHMARK(BM_OneCupsGetPrintersRequest)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
