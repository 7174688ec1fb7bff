// One suite for every spooler: the fake and (Linux) a private CUPS scheduler.
// A backend type provides:
//   platform::Spooler& spooler();
//   void AddQueue(const std::string& name, const std::string& port,
//                 const std::string& comment, const std::string& location);
//   std::string OtherPort();  // a port the spooler accepts besides file:///dev/null
//   bool ready(std::string* why);  // false, with one line, when it cannot run
// Each test makes queues of its own names, so backends may be shared.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/spooler.h"
#include "platform/win32_errors.h"

namespace vantrel::testing {

template <typename Backend>
class SpoolerContractTest : public ::testing::Test {
 protected:
  using Printer = std::unique_ptr<platform::SpoolerPrinter>;

  static Backend& backend() {
    static Backend shared;  // one scheduler for the whole run
    return shared;
  }
  void SetUp() override {
    std::string why;
    if (!backend().ready(&why)) FAIL() << why;
  }
  platform::Spooler& spooler() { return backend().spooler(); }

  // A queue of a name no other test uses.
  std::string NewQueue(const std::string& comment = "", const std::string& location = "") {
    static std::atomic<int> counter{0};
    std::string name = "Contract" + std::to_string(++counter);
    backend().AddQueue(name, "file:///dev/null", comment, location);
    return name;
  }

  Printer Open(const std::string& name, uint32_t access = platform::kPrinterAllAccess) {
    Printer printer;
    EXPECT_EQ(spooler().Open(name, access, &printer), platform::kErrorSuccess) << name;
    return printer;
  }

  platform::PrinterInfo2 Read(platform::SpoolerPrinter& printer) {
    platform::PrinterInfo2 info;
    EXPECT_EQ(printer.GetInfo2(&info), platform::kErrorSuccess);
    return info;
  }

  uint32_t PrintRaw(platform::SpoolerPrinter& printer, const std::string& document,
                    const std::string& bytes) {
    uint32_t job = 0;
    EXPECT_EQ(printer.StartDoc(document, "RAW", &job), platform::kErrorSuccess);
    EXPECT_EQ(printer.StartPage(), platform::kErrorSuccess);
    uint32_t written = 0;
    for (size_t at = 0; at < bytes.size(); at += written) {
      EXPECT_EQ(
          printer.Write(bytes.data() + at, static_cast<uint32_t>(bytes.size() - at), &written),
          platform::kErrorSuccess);
      if (written == 0) break;
    }
    EXPECT_EQ(printer.EndPage(), platform::kErrorSuccess);
    EXPECT_EQ(printer.EndDoc(), platform::kErrorSuccess);
    return job;
  }

  // Waits up to `ms` for an item of `field` whose value satisfies `wanted`.
  // A discarded batch lost its items, so it is followed by the refresh a
  // real watcher makes (a late restart notice can discard a change).
  template <typename Wanted>
  bool WaitForItem(platform::ChangeWatch& watch, platform::NotifyType type, uint16_t field,
                   Wanted wanted, int ms = 3000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (std::chrono::steady_clock::now() < end) {
      platform::NotifyBatch batch;
      if (watch.Wait(200, &batch) != platform::kErrorSuccess) continue;
      if (batch.discarded && watch.Refresh(&batch) != platform::kErrorSuccess) continue;
      for (const platform::NotifyItem& item : batch.items)
        if (item.type == type && item.field == field && wanted(item)) return true;
    }
    return false;
  }
};

TYPED_TEST_SUITE_P(SpoolerContractTest);

using namespace platform;

TYPED_TEST_P(SpoolerContractTest, UnknownPrinterIsAnInvalidName) {
  std::unique_ptr<SpoolerPrinter> printer;
  EXPECT_EQ(this->spooler().Open("NoSuchQueue", kPrinterAllAccess, &printer),
            kErrorInvalidPrinterName);
  EXPECT_EQ(this->spooler().Open("NoSuchQueue", kPrinterAccessUse, &printer),
            kErrorInvalidPrinterName);
  EXPECT_EQ(printer, nullptr);
}

TYPED_TEST_P(SpoolerContractTest, NewQueueReadsAtEveryLevel) {
  const std::string name = this->NewQueue("Front desk", "Room 12");
  auto printer = this->Open(name);
  const PrinterInfo2 info = this->Read(*printer);
  EXPECT_EQ(info.printer_name, name);
  EXPECT_EQ(info.comment, "Front desk");
  EXPECT_EQ(info.location, "Room 12");
  EXPECT_EQ(info.port_name, "file:///dev/null");
  EXPECT_EQ(info.share_name, "");
  EXPECT_TRUE(info.attributes & kPrinterAttributeLocal);
  EXPECT_FALSE(info.attributes & (kPrinterAttributeShared | kPrinterAttributeNetwork));
  EXPECT_EQ(info.status, 0u);
  EXPECT_EQ(info.jobs, 0u);
  PrinterInfo4 four;
  PrinterInfo5 five;
  PrinterInfo6 six;
  ASSERT_EQ(printer->GetInfo4(&four), kErrorSuccess);
  ASSERT_EQ(printer->GetInfo5(&five), kErrorSuccess);
  ASSERT_EQ(printer->GetInfo6(&six), kErrorSuccess);
  EXPECT_EQ(four.printer_name, name);
  EXPECT_EQ(four.attributes, info.attributes);
  EXPECT_EQ(five.port_name, info.port_name);
  EXPECT_EQ(five.attributes, info.attributes);
  EXPECT_EQ(six.status, info.status);
}

TYPED_TEST_P(SpoolerContractTest, LevelTwoWritesRoundTrip) {
  const std::string name = this->NewQueue();
  auto printer = this->Open(name);
  PrinterInfo2 info = this->Read(*printer);
  info.comment = "Labels, 4 inch";
  info.location = "Dock \xC3\xA9";  // UTF-8 survives
  info.port_name = this->backend().OtherPort();
  info.default_priority = 7;
  info.start_time = 60;
  info.until_time = 1380;
  ASSERT_EQ(printer->SetInfo2(info), kErrorSuccess);
  const PrinterInfo2 again = this->Read(*this->Open(name));  // a fresh handle sees it
  EXPECT_EQ(again.comment, info.comment);
  EXPECT_EQ(again.location, info.location);
  EXPECT_EQ(again.port_name, info.port_name);
  EXPECT_EQ(again.default_priority, 7u);
  EXPECT_EQ(again.start_time, 60u);
  EXPECT_EQ(again.until_time, 1380u);
}

TYPED_TEST_P(SpoolerContractTest, UnknownPortIsRefusedAndChangesNothing) {
  const std::string name = this->NewQueue("kept");
  auto printer = this->Open(name);
  PrinterInfo2 info = this->Read(*printer);
  info.port_name = "foo://bar";
  info.comment = "changed";
  EXPECT_EQ(printer->SetInfo2(info), kErrorUnknownPort);
  const PrinterInfo2 again = this->Read(*printer);
  EXPECT_EQ(again.port_name, "file:///dev/null");
  EXPECT_EQ(again.comment, "kept");
}

TYPED_TEST_P(SpoolerContractTest, SharingFollowsTheRecord) {
  const std::string name = this->NewQueue();
  auto printer = this->Open(name);
  PrinterInfo2 info = this->Read(*printer);
  info.share_name = "a,b";
  info.attributes |= kPrinterAttributeShared;
  EXPECT_EQ(printer->SetInfo2(info), kErrorInvalidShareName);
  EXPECT_FALSE(this->Read(*printer).attributes & kPrinterAttributeShared);
  info.share_name = "labels-front";
  ASSERT_EQ(printer->SetInfo2(info), kErrorSuccess);
  info = this->Read(*printer);
  EXPECT_TRUE(info.attributes & kPrinterAttributeShared);
  EXPECT_EQ(info.share_name, "labels-front");
  info.attributes &= ~kPrinterAttributeShared;
  ASSERT_EQ(printer->SetInfo2(info), kErrorSuccess);
  info = this->Read(*printer);
  EXPECT_FALSE(info.attributes & kPrinterAttributeShared);
  EXPECT_EQ(info.share_name, "labels-front");
}

TYPED_TEST_P(SpoolerContractTest, UseAccessCannotWrite) {
  const std::string name = this->NewQueue();
  auto printer = this->Open(name, kPrinterAccessUse);
  PrinterInfo2 info = this->Read(*printer);
  const std::string comment = info.comment;
  info.comment = "no";
  EXPECT_EQ(printer->SetInfo2(info), kErrorAccessDenied);
  EXPECT_EQ(this->Read(*printer).comment, comment);
}

TYPED_TEST_P(SpoolerContractTest, PauseAndResumeShowInTheStatus) {
  const std::string name = this->NewQueue();
  auto printer = this->Open(name);
  ASSERT_EQ(printer->Control(PrinterControl::kPause), kErrorSuccess);
  EXPECT_TRUE(this->Read(*printer).status & kPrinterStatusPaused);
  ASSERT_EQ(printer->Control(PrinterControl::kResume), kErrorSuccess);
  EXPECT_FALSE(this->Read(*printer).status & kPrinterStatusPaused);
}

TYPED_TEST_P(SpoolerContractTest, EnumerationListsQueuesWithTheirFields) {
  const std::string first = this->NewQueue("one", "here");
  const std::string second = this->NewQueue("two", "there");
  std::vector<PrinterInfo2> all;
  ASSERT_EQ(this->spooler().EnumPrinters2(kEnumLocal | kEnumConnections, &all), kErrorSuccess);
  int found = 0;
  for (const PrinterInfo2& info : all) {
    if (info.printer_name == first) {
      EXPECT_EQ(info.location, "here");
      ++found;
    }
    if (info.printer_name == second) {
      EXPECT_EQ(info.comment, "two");
      ++found;
    }
  }
  EXPECT_EQ(found, 2);
  std::vector<PrinterInfo4> names;
  ASSERT_EQ(this->spooler().EnumPrinters4(kEnumLocal, &names), kErrorSuccess);
  EXPECT_EQ(names.size(), all.size());
  std::vector<PrinterInfo2> shared;
  ASSERT_EQ(this->spooler().EnumPrinters2(kEnumLocal | kEnumShared, &shared), kErrorSuccess);
  for (const PrinterInfo2& info : shared) EXPECT_NE(info.printer_name, first);
  std::vector<PortInfo2> ports;
  ASSERT_EQ(this->spooler().EnumPorts2(&ports), kErrorSuccess);
  bool null_port = false;
  for (const PortInfo2& port : ports) null_port |= port.port_name == "file:///dev/null";
  EXPECT_TRUE(null_port);
}

TYPED_TEST_P(SpoolerContractTest, MissingPrinterDataIsNotFound) {
  auto printer = this->Open(this->NewQueue());
  uint32_t type = 99;
  std::vector<uint8_t> data{7};
  EXPECT_EQ(printer->GetData("Kesto Interface V3", &type, &data), kErrorFileNotFound);
  EXPECT_EQ(printer->GetDataEx("PrintLink", "Odometer Pages", &type, &data), kErrorFileNotFound);
  EXPECT_EQ(type, 99u);  // outputs untouched on failure
  EXPECT_EQ(data.size(), 1u);
}

// A queue made without a driver passes bytes unchanged and has no driver file.
TYPED_TEST_P(SpoolerContractTest, NewQueueHasNoDriverFile) {
  auto printer = this->Open(this->NewQueue());
  DriverFile file;
  file.version = "untouched";
  EXPECT_EQ(printer->GetDriverFile(&file), kErrorFileNotFound);
  EXPECT_EQ(file.version, "untouched");
}

TYPED_TEST_P(SpoolerContractTest, RawDocumentIsAJobThatCanBeControlled) {
  const std::string name = this->NewQueue();
  auto printer = this->Open(name);
  ASSERT_EQ(printer->Control(PrinterControl::kPause), kErrorSuccess);  // keeps it queued
  const uint32_t id = this->PrintRaw(*printer, "label run", std::string(5000, 'x'));
  ASSERT_NE(id, 0u);
  JobInfo2 job;
  ASSERT_EQ(printer->GetJob(id, &job), kErrorSuccess);
  EXPECT_EQ(job.job_id, id);
  EXPECT_EQ(job.document, "label run");
  EXPECT_EQ(job.printer_name, name);
  EXPECT_EQ(job.datatype, "RAW");
  std::vector<uint32_t> ids;
  ASSERT_EQ(printer->EnumJobIds(&ids), kErrorSuccess);
  EXPECT_EQ(ids, std::vector<uint32_t>{id});
  EXPECT_EQ(this->Read(*printer).jobs, 1u);

  ASSERT_EQ(printer->ControlJob(id, JobControl::kPause), kErrorSuccess);
  ASSERT_EQ(printer->GetJob(id, &job), kErrorSuccess);
  EXPECT_TRUE(job.status & kJobStatusPaused);
  ASSERT_EQ(printer->ControlJob(id, JobControl::kResume), kErrorSuccess);
  ASSERT_EQ(printer->GetJob(id, &job), kErrorSuccess);
  EXPECT_FALSE(job.status & kJobStatusPaused);

  job.priority = 42;
  ASSERT_EQ(printer->SetJob2(id, job), kErrorSuccess);
  ASSERT_EQ(printer->GetJob(id, &job), kErrorSuccess);
  EXPECT_EQ(job.priority, 42u);
  job.priority = 0;
  EXPECT_EQ(printer->SetJob2(id, job), kErrorInvalidParameter);

  // Another printer does not know the job.
  auto other = this->Open(this->NewQueue());
  EXPECT_EQ(other->GetJob(id, &job), kErrorInvalidParameter);
  EXPECT_EQ(other->ControlJob(id, JobControl::kDelete), kErrorInvalidParameter);

  ASSERT_EQ(printer->ControlJob(id, JobControl::kDelete), kErrorSuccess);
  EXPECT_EQ(printer->GetJob(id, &job), kErrorInvalidParameter);
  ASSERT_EQ(printer->EnumJobIds(&ids), kErrorSuccess);
  EXPECT_TRUE(ids.empty());
}

TYPED_TEST_P(SpoolerContractTest, ChangesArriveAsBatchesOfTheWatchedFields) {
  const std::string name = this->NewQueue();
  auto printer = this->Open(name);
  NotifyFields fields;
  fields.printer_fields = {printer_field::kComment, printer_field::kStatus};
  fields.job_fields = {job_field::kStatus, job_field::kDocument};
  std::unique_ptr<ChangeWatch> watch;
  ASSERT_EQ(printer->WatchChanges(fields, &watch), kErrorSuccess);

  PrinterInfo2 info = this->Read(*printer);
  info.comment = "watched";
  ASSERT_EQ(this->Open(name)->SetInfo2(info), kErrorSuccess);
  EXPECT_TRUE(this->WaitForItem(*watch, NotifyType::kPrinter, printer_field::kComment,
                                [](const NotifyItem& item) { return item.text == "watched"; }));
  ASSERT_EQ(printer->Control(PrinterControl::kPause), kErrorSuccess);
  EXPECT_TRUE(this->WaitForItem(
      *watch, NotifyType::kPrinter, printer_field::kStatus,
      [](const NotifyItem& item) { return (item.number & kPrinterStatusPaused) != 0; }));
  const uint32_t id = this->PrintRaw(*printer, "noticed", "bytes");
  EXPECT_TRUE(this->WaitForItem(
      *watch, NotifyType::kJob, job_field::kDocument,
      [&](const NotifyItem& item) { return item.id == id && item.text == "noticed"; }));
  // Another printer's changes are not ours.
  auto other = this->Open(this->NewQueue());
  info = this->Read(*other);
  info.comment = "elsewhere";
  ASSERT_EQ(other->SetInfo2(info), kErrorSuccess);
  EXPECT_FALSE(this->WaitForItem(
      *watch, NotifyType::kPrinter, printer_field::kComment, [](const NotifyItem&) { return true; },
      500));

  NotifyBatch refreshed;
  ASSERT_EQ(watch->Refresh(&refreshed), kErrorSuccess);
  bool comment = false;
  for (const NotifyItem& item : refreshed.items)
    comment |= item.field == printer_field::kComment && item.text == "watched";
  EXPECT_TRUE(comment);
  EXPECT_FALSE(refreshed.discarded);
}

TYPED_TEST_P(SpoolerContractTest, CancelWakesTheWaiter) {
  auto printer = this->Open(this->NewQueue());
  std::unique_ptr<ChangeWatch> watch;
  ASSERT_EQ(printer->WatchChanges(NotifyFields{}, &watch), kErrorSuccess);
  NotifyBatch batch;
  EXPECT_EQ(watch->Wait(10, &batch), kErrorWaitTimeout);
  std::thread canceller([&] { watch->Cancel(); });
  EXPECT_EQ(watch->Wait(10000, &batch), kErrorPrintCancelled);
  canceller.join();
}

TYPED_TEST_P(SpoolerContractTest, ServerWatchSeesNewPrinters) {
  auto server = this->Open("");
  NotifyFields fields;
  fields.change_filter = kChangeAddPrinter;
  fields.printer_fields = {printer_field::kPrinterName};
  std::unique_ptr<ChangeWatch> watch;
  ASSERT_EQ(server->WatchChanges(fields, &watch), kErrorSuccess);
  const std::string name = this->NewQueue();
  EXPECT_TRUE(this->WaitForItem(*watch, NotifyType::kPrinter, printer_field::kPrinterName,
                                [&](const NotifyItem& item) { return item.text == name; }));
}

REGISTER_TYPED_TEST_SUITE_P(SpoolerContractTest, UnknownPrinterIsAnInvalidName,
                            NewQueueReadsAtEveryLevel, LevelTwoWritesRoundTrip,
                            UnknownPortIsRefusedAndChangesNothing, SharingFollowsTheRecord,
                            UseAccessCannotWrite, PauseAndResumeShowInTheStatus,
                            EnumerationListsQueuesWithTheirFields, MissingPrinterDataIsNotFound,
                            NewQueueHasNoDriverFile, RawDocumentIsAJobThatCanBeControlled,
                            ChangesArriveAsBatchesOfTheWatchedFields, CancelWakesTheWaiter,
                            ServerWatchSeesNewPrinters);

}  // namespace vantrel::testing
