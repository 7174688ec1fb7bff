// One warm, uncontended settings read through PrinterRegistry (symbolic path,
// cross-process mutex, store) against a bare SQLite point query for the same
// value on the same store file, with its statement prepared once. The ratio
// of the two is what the settings path costs above the database itself.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>

#include "platform/registry_value.h"
#include "platform/settings_store.h"
#include "support/registry.h"

namespace {

using namespace vantrel;

constexpr const char* kPath = "NETWORK:Connection Timeout";

std::filesystem::path StoreFolder() {
  static const auto folder = [] {
    const auto made = std::filesystem::temp_directory_path() / "vantrel-bench-settings";
    std::filesystem::remove_all(made);
    return made;
  }();
  return folder;
}

platform::SettingsStore* Store() {
  static auto* store = [] {
    auto* opened = platform::OpenSettingsStoreAt(StoreFolder().string()).release();
    PrinterRegistry("Bench", {}, {}, {}, 0, opened).WriteDword(kPath, 1000);
    return opened;
  }();
  return store;
}

void BM_PrinterRegistryWarmRead(benchmark::State& state) {
  PrinterRegistry registry("Bench", {}, {}, {}, 0, Store());
  platform::RegistryValue value;
  for (auto _ : state) {
    if (registry.ReadValue(kPath, &value) != 0) std::abort();
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_PrinterRegistryWarmRead)->Unit(benchmark::kMicrosecond);

void BM_BareSqlitePointQuery(benchmark::State& state) {
  Store();  // the value exists
  sqlite3* db = nullptr;
  const std::string file = (StoreFolder() / "machine.db").string();
  if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) std::abort();
  sqlite3_stmt* query = nullptr;
  if (sqlite3_prepare_v2(
          db, "SELECT type, data FROM key_values WHERE name_folded = 'connection timeout'", -1,
          &query, nullptr) != SQLITE_OK) {
    std::abort();
  }
  for (auto _ : state) {
    if (sqlite3_step(query) != SQLITE_ROW) std::abort();
    benchmark::DoNotOptimize(sqlite3_column_blob(query, 1));
    sqlite3_reset(query);
  }
  sqlite3_finalize(query);
  sqlite3_close_v2(db);
}
BENCHMARK(BM_BareSqlitePointQuery)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
