// The fake's injected failures behave as the real spoolers' failures do, so
// tests that rely on them test something real.
#include <gtest/gtest.h>

#include "fakes/fake_spooler.h"
#include "platform/win32_errors.h"

namespace vantrel::testing {
namespace {

using namespace platform;

class FakeSpoolerTest : public ::testing::Test {
 protected:
  void SetUp() override { fake_.AddPrinter("Labels"); }
  std::unique_ptr<SpoolerPrinter> Open(uint32_t access = kPrinterAllAccess) {
    std::unique_ptr<SpoolerPrinter> printer;
    EXPECT_EQ(fake_.Open("Labels", access, &printer), kErrorSuccess);
    return printer;
  }
  FakeSpooler fake_;
};

TEST_F(FakeSpoolerTest, PartialWritesKeepEveryByteInOrder) {
  fake_.LimitWrites(3);
  auto printer = Open();
  uint32_t job = 0;
  ASSERT_EQ(printer->StartDoc("doc", "RAW", &job), kErrorSuccess);
  const std::string bytes = "^XA^FDhello^XZ";
  uint32_t written = 0;
  ASSERT_EQ(printer->Write(bytes.data(), static_cast<uint32_t>(bytes.size()), &written),
            kErrorSuccess);
  EXPECT_EQ(written, 3u);
  for (size_t at = written; at < bytes.size(); at += written)
    ASSERT_EQ(printer->Write(bytes.data() + at, static_cast<uint32_t>(bytes.size() - at), &written),
              kErrorSuccess);
  ASSERT_EQ(printer->EndDoc(), kErrorSuccess);
  EXPECT_EQ(fake_.DocumentBytes(job), bytes);
  EXPECT_EQ(printer->Write("x", 1, &written), kErrorInvalidParameter);  // no open document
}

TEST_F(FakeSpoolerTest, DroppedNotificationsGiveOneDiscardedBatchThenRefresh) {
  auto printer = Open();
  NotifyFields fields;
  fields.printer_fields = {printer_field::kStatus};
  std::unique_ptr<ChangeWatch> watch;
  ASSERT_EQ(printer->WatchChanges(fields, &watch), kErrorSuccess);
  fake_.SetStatus("Labels", kPrinterStatusPaperOut);
  fake_.DropNotifications("Labels");
  NotifyBatch batch;
  ASSERT_EQ(watch->Wait(0, &batch), kErrorSuccess);
  EXPECT_TRUE(batch.discarded);
  EXPECT_TRUE(batch.items.empty());  // the dropped change is gone
  EXPECT_EQ(watch->Wait(0, &batch), kErrorWaitTimeout);
  ASSERT_EQ(watch->Refresh(&batch), kErrorSuccess);
  ASSERT_EQ(batch.items.size(), 1u);
  EXPECT_EQ(batch.items[0].number, kPrinterStatusPaperOut);
}

TEST_F(FakeSpoolerTest, RefusedAdministrationAndBrokenRecords) {
  fake_.DenyAdministration("Labels");
  std::unique_ptr<SpoolerPrinter> printer;
  EXPECT_EQ(fake_.Open("Labels", kPrinterAllAccess, &printer), kErrorAccessDenied);
  printer = Open(kPrinterAccessUse);
  EXPECT_EQ(printer->Control(PrinterControl::kPause), kErrorAccessDenied);
  fake_.BreakRecords("Labels");
  PrinterInfo2 info;
  info.comment = "sentinel";
  EXPECT_EQ(printer->GetInfo2(&info), kErrorInvalidData);
  EXPECT_EQ(info.comment, "sentinel");
  EXPECT_EQ(fake_.Calls("GetInfo2"), 1);
}

}  // namespace
}  // namespace vantrel::testing
