#include "printers/raw_file_sender.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "fakes/fake_spooler.h"
#include "platform/win32_errors.h"
#include "unit/scratch.h"

namespace vantrel {
namespace {

class RawFileSenderTest : public ::testing::Test {
 protected:
  RawFileSenderTest() {
    spooler_.AddPrinter("Labels");
    EXPECT_EQ(spooler_.Open("Labels", platform::kPrinterAccessUse, &printer_), 0);
    hooks_.pause = [this](uint32_t ms) { pauses_.push_back(ms); };
  }

  std::string WriteFile(const std::string& name, const std::string& bytes) {
    const std::string path = (scratch_.path() / name).string();
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }

  testing::ScratchFolder scratch_;
  testing::FakeSpooler spooler_;
  std::unique_ptr<platform::SpoolerPrinter> printer_;
  RawFileHooks hooks_;
  std::vector<uint32_t> pauses_;
};

TEST_F(RawFileSenderTest, LargeFileArrivesUnchangedThroughPartialWritesAndChunks) {
  std::string bytes(5 * kRawFileChunkBytes / 2, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 131 + i / 7);
  const std::string path = WriteFile("batch.prn", bytes);
  constexpr uint32_t kLimit = 300000;
  spooler_.LimitWrites(kLimit);
  std::vector<uint64_t> progress;
  hooks_.progress = [&](uint64_t written, uint64_t total) {
    EXPECT_EQ(total, bytes.size());
    progress.push_back(written);
  };

  const RawFileOutcome outcome = SendRawFile(*printer_, path, "", hooks_);
  ASSERT_TRUE(outcome.sent) << outcome.error;
  EXPECT_EQ(spooler_.DocumentBytes(outcome.job_id), bytes);
  EXPECT_EQ(progress,
            (std::vector<uint64_t>{kRawFileChunkBytes, 2 * kRawFileChunkBytes, bytes.size()}));
  // A pause after every write that left part of its chunk; none between chunks.
  const size_t writes = spooler_.Calls("Write");
  EXPECT_EQ(writes, 4u + 4u + 2u);  // 1 MiB in writes of 300000 bytes takes four
  EXPECT_EQ(pauses_, std::vector<uint32_t>(writes - 3, kPartialWritePauseMs));
  EXPECT_EQ(spooler_.Calls("EndDoc"), 1);
}

TEST_F(RawFileSenderTest, EmptyFileIsOneWriteOfNothing) {
  const RawFileOutcome outcome = SendRawFile(*printer_, WriteFile("empty.prn", ""), "Named");
  EXPECT_TRUE(outcome.sent);
  EXPECT_EQ(spooler_.Calls("Write"), 1);
  EXPECT_EQ(spooler_.DocumentBytes(outcome.job_id), "");
}

TEST_F(RawFileSenderTest, FileThatCannotBeOpenedReachesNoSpoolerCall) {
  const std::string missing = (scratch_.path() / "missing.prn").string();
  EXPECT_EQ(SendRawFile(*printer_, missing, "").error, platform::kErrorFileNotFound);
  EXPECT_EQ(SendRawFile(*printer_, scratch_.path().string(), "").error,
            platform::kErrorAccessDenied);
  EXPECT_EQ(spooler_.Calls("StartDoc"), 0);
}

TEST_F(RawFileSenderTest, SpoolerFailingHalfWayStillEndsTheDocumentAndSaysSo) {
  const std::string path = WriteFile("two.prn", std::string(kRawFileChunkBytes + 10, 'x'));
  hooks_.progress = [&](uint64_t, uint64_t) { spooler_.RemovePrinter("Labels"); };
  const RawFileOutcome outcome = SendRawFile(*printer_, path, "", hooks_);
  EXPECT_FALSE(outcome.sent);
  EXPECT_NE(outcome.error, platform::kErrorSuccess);
  EXPECT_EQ(spooler_.Calls("Write"), 2);
  EXPECT_EQ(spooler_.Calls("EndDoc"), 1);
}

TEST(RawFileJobNameTest, GivenNameElseTheFileNameAfterItsLastBackslash) {
  EXPECT_EQ(RawFileJobName("C:\\labels\\batch.prn", ""), "batch.prn");
  EXPECT_EQ(RawFileJobName("batch.prn", ""), "batch.prn");
  EXPECT_EQ(RawFileJobName("C:\\labels\\batch.prn", "Morning run"), "Morning run");
  EXPECT_EQ(RawFileJobName("C:\\labels\\", ""), "");
}

}  // namespace
}  // namespace vantrel
