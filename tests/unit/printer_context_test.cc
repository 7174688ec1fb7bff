#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "fakes/fake_spooler.h"
#include "frame/error_texts.h"
#include "printers/driver_interface.h"
#include "platform/win32_errors.h"
#include "printers/printer_context_registry.h"

namespace vantrel::printers {
namespace {

using testing::FakeSpooler;

class PrinterContextTest : public ::testing::Test {
 protected:
  void SetUp() override {
    spooler_.AddPrinter("Labels");
    spooler_.AddPort("socket://127.0.0.1:9100");
  }

  PrinterContext* Acquire(const std::string& name = "Labels") {
    PrinterContext* context = registry_.Acquire(name);
    held_.push_back(context);
    return context;
  }
  void TearDown() override {
    for (PrinterContext* context : held_) registry_.Release(context);
  }

  template <typename F>
  static ResultCode KestoCodeOf(F call) {
    try {
      call();
    } catch (const KestoException& e) {
      return e.code();
    }
    return 0;
  }

  FakeSpooler spooler_;
  PrinterContextRegistry registry_{spooler_};
  std::vector<PrinterContext*> held_;
};

TEST_F(PrinterContextTest, OneContextAndHandlePerNameUntilTheLastRelease) {
  PrinterContext* first = registry_.Acquire("Labels");
  PrinterContext* second = registry_.Acquire("Labels");
  EXPECT_EQ(first, second);
  EXPECT_EQ(spooler_.Calls("Open"), 1);
  registry_.Release(first);
  EXPECT_EQ(spooler_.Calls("Close"), 0);
  EXPECT_EQ(second->GetName(), "Labels");
  registry_.Release(second);
  EXPECT_EQ(spooler_.Calls("Close"), 1);
  EXPECT_EQ(registry_.size(), 0u);
}

TEST_F(PrinterContextTest, UnknownPrinterIsNotKept) {
  EXPECT_EQ(KestoCodeOf([&] { Acquire("Nope"); }), frame::kCouldNotOpenPrinter.code);
  EXPECT_EQ(registry_.size(), 0u);
  held_.clear();
}

TEST_F(PrinterContextTest, ShutdownStopsHandingOutAndReleasing) {
  PrinterContext* context = registry_.Acquire("Labels");
  registry_.BeginShutdown();
  EXPECT_EQ(registry_.Acquire("Labels"), nullptr);
  registry_.Release(context);
  EXPECT_EQ(spooler_.Calls("Close"), 0);  // the registry frees it at its end
}

TEST_F(PrinterContextTest, UseAccessReadsButAdministrationIsRefused) {
  spooler_.DenyAdministration("Labels");
  PrinterContext* context = Acquire();
  EXPECT_EQ(context->handle()->access(), platform::kPrinterAccessUse);
  EXPECT_EQ(context->GetPortName(), "file:///dev/null");
  context->SetComment("ignored");  // refused without a word
  EXPECT_EQ(context->GetComment(), "");
  try {
    context->SetPortName("socket://127.0.0.1:9100");
    FAIL() << "no exception";
  } catch (const OException& e) {
    EXPECT_EQ(e.error(), platform::kErrorAccessDenied);
  }
}

TEST_F(PrinterContextTest, BadShareNamesAreRefusedBeforeTheSpoolerIsAsked) {
  PrinterContext* context = Acquire();
  for (const char* name : {"a,b", "x/y", "back\\slash"})
    EXPECT_EQ(KestoCodeOf([&] { context->SetShareName(name); }), frame::kInvalidShareName.code)
        << name;
  EXPECT_EQ(spooler_.Calls("GetInfo2"), 0);
  EXPECT_EQ(spooler_.Calls("SetInfo2"), 0);
}

TEST_F(PrinterContextTest, SharingFollowsTheShareName) {
  PrinterContext* context = Acquire();
  context->SetShareName("front");
  EXPECT_EQ(context->IsShared(), -1);
  EXPECT_EQ(context->GetShareName(), "front");
  context->SetShared(false);
  EXPECT_EQ(context->IsShared(), 0);
  EXPECT_EQ(context->GetShareName(), "front");  // kept for sharing again
  context->SetShared(true);
  EXPECT_EQ(context->GetShareName(), "front");
  context->SetShareName("");
  EXPECT_EQ(context->IsShared(), 0);
  EXPECT_EQ(context->GetShareName(), "");
}

TEST_F(PrinterContextTest, SharingWithoutShareNameUsesTheNameWithoutDeletionSuffix) {
  PrinterContext* context = Acquire();
  spooler_.RenameRecord("Labels", "Labels,3");
  spooler_.SetStatus("Labels", platform::kPrinterStatusPendingDeletion);
  EXPECT_EQ(context->GetName(), "Labels");
  context->SetShared(true);
  EXPECT_EQ(context->GetShareName(), "Labels");
  EXPECT_EQ(context->IsShared(), -1);
  // Only a printer pending deletion loses its suffix.
  spooler_.SetStatus("Labels", 0);
  EXPECT_EQ(context->GetName(), "Labels,3");
}

TEST_F(PrinterContextTest, SharingAnUnreadablePrinterChangesNothingAndSaysNothing) {
  PrinterContext* context = Acquire();
  spooler_.BreakRecords("Labels");
  EXPECT_NO_THROW(context->SetShared(true));
  EXPECT_NO_THROW(context->SetShared(false));
  EXPECT_EQ(spooler_.Calls("SetInfo2"), 0);
}

// A share name the spooler refuses: through SetShareName it is the library's
// "Invalid printer share name"; re-sharing under a kept name that another
// printer took since reports the spooler's own error.
TEST_F(PrinterContextTest, ShareNameTakenByAnotherPrinterIsRefused) {
  spooler_.AddPrinter("Other");
  Acquire("Other")->SetShareName("front");
  PrinterContext* context = Acquire();
  EXPECT_EQ(KestoCodeOf([&] { context->SetShareName("front"); }), frame::kInvalidShareName.code);
  EXPECT_EQ(context->IsShared(), 0);
  spooler_.EditRecord("Labels", [](platform::PrinterInfo2& r) { r.share_name = "front"; });
  try {
    context->SetShared(true);
    FAIL() << "no exception";
  } catch (const OException& e) {
    EXPECT_EQ(e.error(), platform::kErrorInvalidShareName);
  }
  EXPECT_EQ(context->IsShared(), 0);
}

TEST_F(PrinterContextTest, AttributeFlagsAreAutomationBooleans) {
  PrinterContext* context = Acquire();
  spooler_.SetAttributes("Labels", platform::kPrinterAttributeLocal);
  EXPECT_EQ(context->IsLocal(), -1);
  EXPECT_EQ(context->IsNetwork(), 0);
  EXPECT_EQ(context->IsShared(), 0);
  spooler_.SetAttributes("Labels",
                         platform::kPrinterAttributeNetwork | platform::kPrinterAttributeShared);
  EXPECT_EQ(context->IsLocal(), 0);
  EXPECT_EQ(context->IsNetwork(), -1);
  EXPECT_EQ(context->IsShared(), -1);
}

TEST_F(PrinterContextTest, ScheduleAndPriorityAreKeptAndRefusedChangesAreQuiet) {
  PrinterContext* context = Acquire();
  context->SetStartTime(90);
  context->SetUntilTime(1439);
  context->SetDefaultPriority(99);
  EXPECT_EQ(context->GetStartTime(), 90u);
  EXPECT_EQ(context->GetUntilTime(), 1439u);
  EXPECT_EQ(context->GetDefaultPriority(), 99u);
  spooler_.DenyAdministration("Labels");
  EXPECT_NO_THROW(context->SetStartTime(5));
  EXPECT_NO_THROW(context->SetUntilTime(6));
  EXPECT_NO_THROW(context->SetDefaultPriority(7));
  EXPECT_EQ(context->GetStartTime(), 90u);
  EXPECT_EQ(context->GetUntilTime(), 1439u);
  EXPECT_EQ(context->GetDefaultPriority(), 99u);
}

TEST_F(PrinterContextTest, ServerAndDriverNamesComeFromTheRecord) {
  spooler_.EditRecord("Labels", [](platform::PrinterInfo2& r) {
    r.server_name = "\\\\printhost";
    r.driver_name = "Label Driver 7";
  });
  PrinterContext* context = Acquire();
  EXPECT_EQ(context->GetServerName(), "\\\\printhost");
  EXPECT_EQ(context->GetDriverName(), "Label Driver 7");
}

TEST_F(PrinterContextTest, UnknownPortIsInvalidAndChangesNothing) {
  PrinterContext* context = Acquire();
  EXPECT_EQ(KestoCodeOf([&] { context->SetPortName("foo://bar"); }), frame::kInvalidPort.code);
  EXPECT_EQ(context->GetPortName(), "file:///dev/null");
  context->SetPortName("socket://127.0.0.1:9100");
  EXPECT_EQ(context->GetPortName(), "socket://127.0.0.1:9100");
}

TEST_F(PrinterContextTest, BrokenRecordsGiveEmptyAnswers) {
  PrinterContext* context = Acquire();
  spooler_.BreakRecords("Labels");
  EXPECT_EQ(context->GetName(), "");
  EXPECT_EQ(context->GetPortName(), "");
  EXPECT_EQ(context->GetJobCount(), 0u);
  EXPECT_EQ(context->IsLocal(), 0);
  context->SetLocation("lost");  // no exception
  EXPECT_EQ(spooler_.Calls("SetInfo2"), 0);
}

TEST_F(PrinterContextTest, RawOnlyProbeIsCachedAndSurvivesAFailedProbe) {
  PrinterContext* context = Acquire();
  EXPECT_TRUE(context->IsNotRawOnly());
  spooler_.SetAttributes("Labels", platform::kPrinterAttributeRawOnly);
  EXPECT_TRUE(context->IsNotRawOnly());  // still the cached answer
  EXPECT_EQ(spooler_.Calls("GetInfo5"), 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  spooler_.BreakRecords("Labels");
  EXPECT_TRUE(context->IsNotRawOnly());  // the failed probe keeps the old answer
  EXPECT_EQ(spooler_.Calls("GetInfo5"), 2);
}

TEST_F(PrinterContextTest, DriverKindFollowsTheInterfaceValues) {
  spooler_.AddPrinter("Vendor");
  spooler_.SetData("Vendor", "Kesto Interface");  // the older value alone suffices
  spooler_.AddPrinter("Vendor3");
  spooler_.SetData("Vendor3", "Kesto Interface V3");
  EXPECT_TRUE(Acquire("Vendor")->driver()->IsAdvanced());
  EXPECT_TRUE(Acquire("Vendor3")->driver()->IsAdvanced());
  EXPECT_FALSE(Acquire("Labels")->driver()->IsAdvanced());
}

TEST_F(PrinterContextTest, ConcurrentSettersDoNotLoseEachOthersFields) {
  PrinterContext* context = Acquire();
  std::thread comments([&] {
    for (int i = 0; i < 300; ++i) context->SetComment("comment " + std::to_string(i));
  });
  std::thread locations([&] {
    for (int i = 0; i < 300; ++i) context->SetLocation("location " + std::to_string(i));
  });
  comments.join();
  locations.join();
  EXPECT_EQ(context->GetComment(), "comment 299");
  EXPECT_EQ(context->GetLocation(), "location 299");
}

}  // namespace
}  // namespace vantrel::printers
