// A 50 MiB file sent as one raw job through the object model
// (Printer.SendFile), against `lp -o raw` of the same file to the same queue
// of the same private scheduler, in the same run. Both end when the
// scheduler has taken the whole job. The object model's run also reports how
// far the process's peak resident memory grew (peak_rss_growth_mib): files
// stream in chunks, so it stays far below the file's size.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "private_scheduler_posix.h"
#include "frame/com_ptr.h"
#include "frame/object.h"
#include "frame/ole_string.h"
#include "printers/printer.h"

namespace {

constexpr size_t kFileBytes = size_t{50} << 20;
constexpr char kQueue[] = "Bench";

// The process's peak resident memory so far, in KiB (VmHWM).
long PeakRssKib() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("VmHWM:", 0) == 0) return std::atol(line.c_str() + 6);
  return 0;
}

class Setup {
 public:
  Setup() : dir_(std::filesystem::temp_directory_path() / "vantrel-bench-send") {
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_ / "home");
    std::filesystem::permissions(dir_,
                                 std::filesystem::perms::all);  // the scheduler reads the file
    server_ = vantrel::bench::StartPrivateScheduler(dir_ / "cupsd");
    // The library reads both when it first reaches the scheduler and the store.
    setenv("CUPS_SERVER", server_.c_str(), 1);
    setenv("VANTREL_HOME", (dir_ / "home").string().c_str(), 1);
    if (Run(std::string("lpadmin -p ") + kQueue + " -E -v file:///dev/null") != 0) std::abort();
    file_ = (dir_ / "batch.prn").string();
    std::ofstream bytes(file_, std::ios::binary);
    std::mt19937_64 random(7);
    std::string block(1 << 20, '\0');
    for (size_t written = 0; written < kFileBytes; written += block.size()) {
      for (char& c : block) c = static_cast<char>(random());
      bytes.write(block.data(), static_cast<std::streamsize>(block.size()));
    }
  }
  ~Setup() {
    vantrel::bench::StopPrivateScheduler(dir_ / "cupsd");
    std::filesystem::remove_all(dir_);
  }

  // Runs a CUPS tool against the private scheduler; its exit status.
  int Run(const std::string& command) const {
    return std::system(("CUPS_SERVER=" + server_ + " " + command + " >/dev/null 2>&1").c_str());
  }
  // Drops every job with its files, so that the spool folder does not grow.
  void Purge() const { Run(std::string("cancel -a -x ") + kQueue); }
  const std::string& file() const { return file_; }

 private:
  std::filesystem::path dir_;
  std::string server_;
  std::string file_;
};

Setup& TheSetup() {
  static Setup setup;
  return setup;
}

void BM_PrinterSendFile(benchmark::State& state) {
  Setup& setup = TheSetup();
  auto printer = vantrel::frame::ComPtr<vantrel::Printer>::Adopt(
      vantrel::frame::CreateObject<vantrel::Printer>());
  if (FAILED(printer->Initialize(vantrel::frame::Bstr(kQueue).get()))) {
    state.SkipWithError("the queue cannot be opened");
    return;
  }
  const vantrel::frame::Bstr file(setup.file()), job("");
  const long peak_before = PeakRssKib();
  for (auto _ : state) {
    if (FAILED(printer->SendFile(file.get(), job.get()))) state.SkipWithError("SendFile failed");
    state.PauseTiming();
    setup.Purge();
    state.ResumeTiming();
  }
  const long peak_after = PeakRssKib();
  state.counters["peak_rss_growth_mib"] = (peak_after - peak_before) / 1024.0;
  state.counters["peak_rss_mib"] = peak_after / 1024.0;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFileBytes));
}
BENCHMARK(BM_PrinterSendFile)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_LpRaw(benchmark::State& state) {
  Setup& setup = TheSetup();
  const std::string command = std::string("lp -d ") + kQueue + " -o raw '" + setup.file() + "'";
  for (auto _ : state) {
    if (setup.Run(command) != 0) state.SkipWithError("lp failed");
    state.PauseTiming();
    setup.Purge();
    state.ResumeTiming();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFileBytes));
}
BENCHMARK(BM_LpRaw)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
