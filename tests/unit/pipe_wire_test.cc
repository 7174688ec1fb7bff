#include "support/pipe_wire.h"

#include <gtest/gtest.h>

#include <string>

namespace vantrel {
namespace {

// Bytes in memory, read back in whatever pieces the reader asks for.
class MemoryStream : public PipeByteStream {
 public:
  explicit MemoryStream(std::string bytes) : bytes_(std::move(bytes)) {}
  platform::PlatformResult Write(const void*, size_t, size_t*) override { return 5; }
  platform::PlatformResult Read(void* out, size_t size, size_t* read) override {
    *read = std::min(size, bytes_.size() - offset_);
    bytes_.copy(static_cast<char*>(out), *read, offset_);
    offset_ += *read;
    return 0;
  }

 private:
  std::string bytes_;
  size_t offset_ = 0;
};

std::string StringItem(std::u16string_view text) {
  return EncodeCountOf(text) + EncodeUnitsOf(text);
}

TEST(PipeWireTest, ALongStringKeepsEveryUnitButOnlyTheLowBitsOfItsCount) {
  const std::u16string text(70000, u'x');
  EXPECT_EQ(EncodeCountOf(text), std::string("\x70\x11", 2));  // 4464
  const std::string units = EncodeUnitsOf(text);
  EXPECT_EQ(units.size(), 140000u);
  EXPECT_EQ(units.substr(0, 4), std::string("x\0x\0", 4));
  EXPECT_EQ(EncodeCountOf(u""), std::string(2, '\0'));
  EXPECT_EQ(EncodeInteger(0x0102030405060708ull), "\x08\x07\x06\x05\x04\x03\x02\x01");
}

TEST(PipeWireTest, TheServingSideReadsCallsAsTheLibraryWritesThem) {
  MemoryStream stream(StringItem(u"Kesto_Settings_Export") + EncodeInteger(0x5A01) +
                      StringItem(u"C:\\t\u00e9st.reg") + EncodeInteger(3) +
                      StringItem(u"Kesto_Printer_Open") + StringItem(u""));
  PipeCall call;
  ASSERT_EQ(ReadPipeCall(stream, &call), PipeReadResult::kCall);
  EXPECT_EQ(call.entry, "Kesto_Settings_Export");
  EXPECT_EQ(call.numbers, (std::vector<uint64_t>{0x5A01, 3}));
  EXPECT_EQ(call.texts, (std::vector<std::u16string>{u"C:\\t\u00e9st.reg"}));
  ASSERT_EQ(ReadPipeCall(stream, &call), PipeReadResult::kCall);
  EXPECT_EQ(call.texts, (std::vector<std::u16string>{u""}));
  EXPECT_EQ(ReadPipeCall(stream, &call), PipeReadResult::kClosed);
}

TEST(PipeWireTest, UnknownEntriesAndCallsCutShortAreMalformed) {
  PipeCall call;
  MemoryStream unknown(StringItem(u"Kesto_Format_Disk") + EncodeInteger(1));
  EXPECT_EQ(ReadPipeCall(unknown, &call), PipeReadResult::kMalformed);
  const std::string whole =
      StringItem(u"Kesto_Printer_Action") + EncodeInteger(1) + EncodeInteger(2);
  for (size_t cut : {size_t{1}, size_t{5}, whole.size() - 1}) {
    MemoryStream shorter(whole.substr(0, cut));
    EXPECT_EQ(ReadPipeCall(shorter, &call), PipeReadResult::kMalformed) << cut;
  }
}

}  // namespace
}  // namespace vantrel
