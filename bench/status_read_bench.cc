// One condition of an advanced printer's status read as a client reads it
// (Printer.Status.RibbonOut through the object model: the member frame, the
// printer's context, the driver interface, the monitoring cache, the XPML
// client with its settings reads and port discovery) against the floor: the
// bare exchange of the same state request on a kept socket. The service is
// the same loopback one for both; the spooler is the in-memory fake, since
// reading a word-2 condition asks the spooler nothing.
#include <benchmark/benchmark.h>

#include "bare_exchange.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "fakes/fake_spooler.h"
#include "fakes/fake_xpml_service.h"
#include "frame/com_ptr.h"
#include "frame/ole_string.h"
#include "platform/registry_value.h"
#include "platform/settings_store.h"
#include "platform/spooler.h"
#include "platform/tcp_socket.h"
#include "printers/printer.h"
#include "printers/status_reply.h"
#include "support/http_message.h"
#include "support/registry.h"

namespace {

using namespace vantrel;

constexpr char kPrinter[] = "Bench";

std::string AnswerRibbonOut(const HttpMessage&) { return testing::XpmlOk("1;32;2"); }

// The printer as a client holds it, with the process's spooler and store
// replaced for the run.
class AdvancedPrinter {
 public:
  explicit AdvancedPrinter(uint16_t service_port)
      : folder_(std::filesystem::temp_directory_path() / "vantrel-bench-status") {
    std::filesystem::remove_all(folder_);
    store_ = platform::OpenSettingsStoreAt(folder_.string());
    platform::SetSettingsStoreForTesting(store_.get());
    spooler_.AddPrinter(kPrinter);
    spooler_.SetData(kPrinter, "Kesto Interface V3");
    // Discovery finds the port the store already holds: nothing is written
    // or logged per exchange.
    const platform::RegistryValue port = platform::MakeDwordValue(service_port);
    spooler_.SetData(kPrinter, "XPML Server Port", port.data);
    PrinterRegistry(kPrinter).WriteValue("NETWORK:XPML Server Port", port);
    platform::SetSpoolerForTesting(&spooler_);

    IPrinter* printer = nullptr;
    const HRESULT created = frame::CreateInstance<vantrel::Printer>(
        nullptr, IID_IPrinter, reinterpret_cast<void**>(&printer));
    if (FAILED(created)) std::abort();
    printer_ = frame::ComPtr<IPrinter>::Adopt(printer);
    const frame::Bstr name(kPrinter);
    IPrinterStatus* status = nullptr;
    if (FAILED(printer_->Initialize(name.get())) || FAILED(printer_->get_Status(&status)))
      std::abort();
    status_ = frame::ComPtr<IPrinterStatus>::Adopt(status);
  }
  ~AdvancedPrinter() {
    status_ = {};
    printer_ = {};
    platform::SetSpoolerForTesting(nullptr);
    platform::SetSettingsStoreForTesting(nullptr);
    store_.reset();
    std::filesystem::remove_all(folder_);
  }
  IPrinterStatus& status() { return *status_.Get(); }

 private:
  const std::filesystem::path folder_;
  std::unique_ptr<platform::SettingsStore> store_;
  testing::FakeSpooler spooler_;
  frame::ComPtr<IPrinter> printer_;
  frame::ComPtr<IPrinterStatus> status_;
};

void BM_RibbonOutThroughTheObjectModel(benchmark::State& state) {
  testing::FakeXpmlService service(AnswerRibbonOut);
  AdvancedPrinter printer(service.port());
  for (auto _ : state) {
    VARIANT_BOOL ribbon_out = VARIANT_FALSE;
    if (FAILED(printer.status().get_RibbonOut(&ribbon_out)) || ribbon_out != VARIANT_TRUE)
      std::abort();
  }
}
BENCHMARK(BM_RibbonOutThroughTheObjectModel)->Unit(benchmark::kMicrosecond);

void BM_BareStateExchangeOverKeptConnection(benchmark::State& state) {
  testing::FakeXpmlService service(AnswerRibbonOut);
  const platform::SocketHandle socket = bench::ConnectOrAbort(service.port());
  const std::string request =
      FormatHttpRequest("POST", "/xpml?persist=1&transactid=1&share=0&printer=Bench", {},
                        printers::kFlagsStateRequest);
  for (auto _ : state)
    benchmark::DoNotOptimize(printers::ParseFlagsReply(bench::BareExchange(socket, request)));
  platform::CloseSocket(socket);
}
BENCHMARK(BM_BareStateExchangeOverKeptConnection)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
