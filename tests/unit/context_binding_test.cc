#include "printers/context_binding.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "fakes/fake_spooler.h"
#include "printers/printer_context.h"
#include "printers/printer_context_registry.h"
#include "support/exceptions.h"

namespace vantrel::printers {
namespace {

class ContextBindingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    spooler_.AddPrinter("Dock-1");
    spooler_.AddPrinter("Dock-2");
    platform::SetSpoolerForTesting(&spooler_);
  }
  void TearDown() override {
    EXPECT_EQ(PrinterContextRegistry::Instance().size(), 0u) << "a context was not released";
    platform::SetSpoolerForTesting(nullptr);
  }

  testing::FakeSpooler spooler_;
};

TEST_F(ContextBindingTest, RebindingReleasesTheOldPrinterAndAFailureLeavesNothingBound) {
  {
    ContextBinding binding;
    binding.Bind("Dock-1");
    binding.Bind("Dock-1");
    EXPECT_EQ(spooler_.Calls("Open"), 1);
    binding.Bind("Dock-2");
    EXPECT_EQ(spooler_.Calls("Close"), 1);
    EXPECT_EQ(binding.Get()->GetName(), "Dock-2");
    EXPECT_THROW(binding.Bind("Missing"), KestoException);
    EXPECT_FALSE(binding.bound());
    EXPECT_FALSE(binding.Get());
  }
  EXPECT_EQ(spooler_.Calls("Close"), 2);
}

// A reader keeps the context it got alive while another thread moves the
// binding between printers.
TEST_F(ContextBindingTest, AContextInUseOutlivesARebindingOnAnotherThread) {
  ContextBinding binding;
  binding.Bind("Dock-1");
  std::atomic<bool> done{false};
  std::thread reader([&] {
    while (!done.load()) {
      const ContextRef context = binding.Get();
      if (context) {
        const std::string name = context->GetName();
        EXPECT_TRUE(name == "Dock-1" || name == "Dock-2") << name;
      }
    }
  });
  for (int i = 0; i < 200; ++i) binding.Bind(i % 2 == 0 ? "Dock-2" : "Dock-1");
  done = true;
  reader.join();
  EXPECT_EQ(binding.name(), "Dock-1");
}

}  // namespace
}  // namespace vantrel::printers
