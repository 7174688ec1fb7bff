// The spooler's two-call read over a scripted system call: which answers go
// on to the read, and that a caller never gets an empty record.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "platform/two_call_read.h"

namespace vantrel::platform {
namespace {

// A system call whose answers are scripted: the probe's result and error,
// the size it asks for, and the read's result and error.
struct ScriptedCall {
  bool probe_succeeds = false;
  long probe_error = kErrorInsufficientBuffer;
  uint32_t size = 8;
  bool read_succeeds = true;
  long read_error = 0;

  int calls = 0;
  long last_error = 0;

  long Read(std::vector<uint8_t>* buffer, size_t minimum) {
    return ReadTwoCalls<uint32_t>(
        buffer, minimum,
        [this](uint8_t* data, uint32_t capacity, uint32_t* needed) {
          ++calls;
          *needed = size;
          if (data == nullptr) {
            last_error = probe_error;
            return probe_succeeds;
          }
          if (capacity < size) {
            last_error = kErrorInsufficientBuffer;
            return false;
          }
          std::memset(data, 0xAB, size);
          last_error = read_error;
          return read_succeeds;
        },
        [this] { return last_error; });
  }
};

TEST(TwoCallReadTest, OnlyAnInsufficientBufferProbeGoesOnToTheRead) {
  ScriptedCall call;
  std::vector<uint8_t> buffer;
  ASSERT_EQ(call.Read(&buffer, 8), kErrorSuccess);
  EXPECT_EQ(call.calls, 2);
  EXPECT_EQ(buffer, std::vector<uint8_t>(8, 0xAB));

  ScriptedCall denied;
  denied.probe_error = kErrorAccessDenied;
  EXPECT_EQ(denied.Read(&buffer, 8), kErrorAccessDenied);
  EXPECT_EQ(denied.calls, 1);
  EXPECT_TRUE(buffer.empty());
}

// A probe that succeeds has nothing to read: an enumeration lists nothing,
// a record read fails instead of handing out an empty buffer.
TEST(TwoCallReadTest, AProbeThatSucceedsIsAnEmptyListButNoRecord) {
  ScriptedCall call;
  call.probe_succeeds = true;
  call.size = 0;
  std::vector<uint8_t> buffer{1, 2, 3};
  EXPECT_EQ(call.Read(&buffer, 0), kErrorSuccess);
  EXPECT_TRUE(buffer.empty());
  buffer = {1, 2, 3};
  EXPECT_EQ(call.Read(&buffer, 8), kErrorInvalidData);
  EXPECT_TRUE(buffer.empty());
}

TEST(TwoCallReadTest, ShortRecordsAndFailedReadsLeaveNoBuffer) {
  ScriptedCall short_record;
  short_record.size = 7;
  std::vector<uint8_t> buffer;
  EXPECT_EQ(short_record.Read(&buffer, 8), kErrorInvalidData);
  EXPECT_EQ(short_record.calls, 1) << "no read for a record that cannot fit its structure";
  EXPECT_TRUE(buffer.empty());

  ScriptedCall failed;
  failed.read_succeeds = false;
  failed.read_error = kErrorAccessDenied;
  EXPECT_EQ(failed.Read(&buffer, 8), kErrorAccessDenied);
  EXPECT_TRUE(buffer.empty());

  ScriptedCall silent;  // failures that leave no error are failures still
  silent.probe_error = kErrorSuccess;
  EXPECT_EQ(silent.Read(&buffer, 0), kErrorInvalidData);
  silent.probe_error = kErrorInsufficientBuffer;
  silent.read_succeeds = false;
  EXPECT_EQ(silent.Read(&buffer, 0), kErrorInvalidData);
  EXPECT_TRUE(buffer.empty());
}

}  // namespace
}  // namespace vantrel::platform
