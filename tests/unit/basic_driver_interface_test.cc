#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fakes/fake_spooler.h"
#include "platform/spooler.h"
#include "printers/driver_interface.h"

namespace vantrel::printers {
namespace {

using testing::FakeSpooler;

std::vector<uint8_t> Bytes(uint32_t number) {
  std::vector<uint8_t> bytes(sizeof number);
  std::memcpy(bytes.data(), &number, sizeof number);
  return bytes;
}

std::vector<uint8_t> Bytes(double number) {
  std::vector<uint8_t> bytes(sizeof number);
  std::memcpy(bytes.data(), &number, sizeof number);
  return bytes;
}

class BasicDriverInterfaceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    spooler_.AddPrinter("Labels");
    ASSERT_EQ(spooler_.Open("Labels", platform::kPrinterAccessUse, &handle_),
              platform::kErrorSuccess);
    driver_->Attach(handle_.get(), "Labels");
  }

  // A job of the printer, started and ended as a raw document.
  uint32_t AddJob() {
    uint32_t job_id = 0;
    EXPECT_EQ(handle_->StartDoc("job", "RAW", &job_id), platform::kErrorSuccess);
    EXPECT_EQ(handle_->EndDoc(), platform::kErrorSuccess);
    return job_id;
  }
  platform::JobInfo2 Job(uint32_t job_id) {
    platform::JobInfo2 job;
    EXPECT_EQ(handle_->GetJob(job_id, &job), platform::kErrorSuccess);
    return job;
  }
  void SetOdometer(const char* value, std::vector<uint8_t> bytes) {
    spooler_.SetDataEx("Labels", "PrintLink", value, std::move(bytes));
  }

  FakeSpooler spooler_;
  std::unique_ptr<platform::SpoolerPrinter> handle_;
  std::unique_ptr<DriverInterface> driver_ = MakeDriverInterface(false);
};

TEST_F(BasicDriverInterfaceTest, JobControlAnswersWhetherTheSpoolerTookIt) {
  const uint32_t job = AddJob();
  EXPECT_TRUE(driver_->PauseJob(job));
  EXPECT_TRUE(Job(job).status & platform::kJobStatusPaused);
  EXPECT_TRUE(driver_->ResumeJob(job));
  EXPECT_FALSE(Job(job).status & platform::kJobStatusPaused);
  EXPECT_TRUE(driver_->RestartJob(job));
  EXPECT_FALSE(driver_->PauseJob(job + 100));
  EXPECT_TRUE(driver_->DeleteJob(job));
  EXPECT_FALSE(driver_->ResumeJob(job));
}

TEST_F(BasicDriverInterfaceTest, JobFieldChangesKeepTheOtherFields) {
  const uint32_t job = AddJob();
  ASSERT_TRUE(driver_->SetJobStartTime(job, 600));
  ASSERT_TRUE(driver_->SetJobUntilTime(job, 720));
  ASSERT_TRUE(driver_->SetJobPriority(job, 42));
  const platform::JobInfo2 changed = Job(job);
  EXPECT_EQ(changed.start_time, 600u);
  EXPECT_EQ(changed.until_time, 720u);
  EXPECT_EQ(changed.priority, 42u);
  EXPECT_EQ(changed.document, "job");
  // Refused by the spooler, and a job that cannot be read.
  EXPECT_FALSE(driver_->SetJobPriority(job, 100));
  EXPECT_FALSE(driver_->SetJobStartTime(job + 100, 600));
}

TEST_F(BasicDriverInterfaceTest, OdometerNeedsPagesAndDistanceAndDefaultsTheRest) {
  OdometerRecord record;
  record.pages = 7;
  SetOdometer("Odometer Pages", Bytes(uint32_t{1200}));
  driver_->GetOdometer(&record);
  EXPECT_EQ(record.pages, 0u) << "distance is missing: every field is cleared";

  SetOdometer("Odometer Distance", Bytes(35.5));
  SetOdometer("Odometer Has Been Cleaned", Bytes(uint32_t{0}));
  driver_->GetOdometer(&record);
  EXPECT_EQ(record.pages, 1200u);
  EXPECT_DOUBLE_EQ(record.distance, 35.5);
  EXPECT_EQ(record.last_cleaning_pages, 0u);
  EXPECT_FALSE(record.cleaned);

  SetOdometer("Odometer Last Cleaning Page Count", Bytes(uint32_t{800}));
  SetOdometer("Odometer Has Been Cleaned", Bytes(uint32_t{1}));
  driver_->GetOdometer(&record);
  EXPECT_EQ(record.last_cleaning_pages, 800u);
  EXPECT_TRUE(record.cleaned);

  auto unattached = MakeDriverInterface(false);
  unattached->GetOdometer(&record);
  EXPECT_EQ(record.pages, 1200u) << "without a handle the record is left as it was";
}

}  // namespace
}  // namespace vantrel::printers
