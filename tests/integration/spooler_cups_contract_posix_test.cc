// The spooler contract over a private CUPS scheduler, and what only CUPS can
// show: state reasons set by the administrator, a scheduler restart.
#include "platform/cups/spooler_cups_posix.h"
#include "integration/cups_sandbox_posix.h"
#include "unit/settings_store_test_support.h"
#include "unit/spooler_contract.h"

namespace vantrel::testing {
namespace {

struct CupsSpoolerBackend {
  platform::Spooler& spooler() { return *cups; }
  void AddQueue(const std::string& name, const std::string& port, const std::string& comment,
                const std::string& location) {
    std::string command = "lpadmin -p " + ShellQuote(name) + " -E -v " + ShellQuote(port);
    if (!comment.empty()) command += " -D " + ShellQuote(comment);
    if (!location.empty()) command += " -L " + ShellQuote(location);
    EXPECT_EQ(sandbox.Tool(command), 0) << command;
  }
  static std::string OtherPort() { return "socket://127.0.0.1:9"; }
  bool ready(std::string* why) {
    *why = sandbox.error();
    return sandbox.ok();
  }

  CupsSandbox sandbox;
  StoreScratchFolder folder;
  std::unique_ptr<platform::SettingsStore> store = platform::OpenSettingsStoreAt(folder.path());
  std::unique_ptr<platform::Spooler> cups =
      platform::OpenCupsSpooler(sandbox.server(), store.get());
};

}  // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Cups, SpoolerContractTest, CupsSpoolerBackend);

namespace {

using namespace platform;

class CupsSpoolerTest : public SpoolerContractTest<CupsSpoolerBackend> {
 protected:
  CupsSandbox& sandbox() { return backend().sandbox; }
};

TEST_F(CupsSpoolerTest, StateReasonsBecomeStatusBits) {
  const std::string name = NewQueue();
  ASSERT_EQ(sandbox().Tool("lpadmin -p " + name +
                           " -o printer-state-reasons=media-empty-error,door-open"),
            0);
  auto printer = Open(name);
  PrinterInfo6 six;
  ASSERT_EQ(printer->GetInfo6(&six), kErrorSuccess);
  EXPECT_EQ(six.status, kPrinterStatusPaperOut | kPrinterStatusDoorOpen);
  ASSERT_EQ(sandbox().Tool("lpadmin -p " + name + " -o printer-state-reasons=none"), 0);
  ASSERT_EQ(printer->GetInfo6(&six), kErrorSuccess);
  EXPECT_EQ(six.status, 0u);
}

TEST_F(CupsSpoolerTest, RawQueuesAreRawOnlyAndSharingIsTheSchedulers) {
  const std::string name = NewQueue();
  auto printer = Open(name);
  PrinterInfo5 five;
  ASSERT_EQ(printer->GetInfo5(&five), kErrorSuccess);
  EXPECT_TRUE(five.attributes & kPrinterAttributeRawOnly);
  // Shared outside the library: the queue's own name stands in for a share name.
  ASSERT_EQ(sandbox().Tool("lpadmin -p " + name + " -o printer-is-shared=true"), 0);
  const PrinterInfo2 info = Read(*printer);
  EXPECT_TRUE(info.attributes & kPrinterAttributeShared);
  EXPECT_EQ(info.share_name, name);
}

TEST_F(CupsSpoolerTest, AnotherPrintersJobAndAnUnknownJobAreInvalid) {
  auto printer = Open(NewQueue());
  JobInfo2 job;
  EXPECT_EQ(printer->GetJob(999999, &job), kErrorInvalidParameter);
  EXPECT_EQ(printer->ControlJob(999999, JobControl::kPause), kErrorInvalidParameter);
}

TEST_F(CupsSpoolerTest, ARestartedSchedulerGivesADiscardedBatch) {
  const std::string name = NewQueue();
  auto printer = Open(name);
  NotifyFields fields;
  fields.printer_fields = {printer_field::kComment};
  std::unique_ptr<ChangeWatch> watch;
  ASSERT_EQ(printer->WatchChanges(fields, &watch), kErrorSuccess);
  ASSERT_TRUE(sandbox().Restart()) << sandbox().error();
  bool discarded = false;
  // Up to 15 s: a loaded machine (or a sanitizer build) restarts slowly.
  for (int i = 0; i < 150 && !discarded; ++i) {
    NotifyBatch batch;
    if (watch->Wait(100, &batch) == kErrorSuccess) discarded = batch.discarded;
  }
  EXPECT_TRUE(discarded);
  // Afterwards changes flow again.
  ASSERT_EQ(sandbox().Tool("lpadmin -p " + name + " -D after"), 0);
  EXPECT_TRUE(WaitForItem(*watch, NotifyType::kPrinter, printer_field::kComment,
                          [](const NotifyItem& item) { return item.text == "after"; }));
}

}  // namespace
}  // namespace vantrel::testing
