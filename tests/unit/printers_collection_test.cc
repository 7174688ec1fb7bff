// The Printers collection filled with printers of the test's own making, so
// that a name lookup can be made to overlap another thread's change.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "frame/com_ptr.h"
#include "frame/object.h"
#include "frame/ole_string.h"
#include "server/printers.h"
#include "unit/frame_test_support.h"
#include "vantrel_stubs.h"

namespace vantrel {
namespace {

using frame::Bstr;
using frame::ComPtr;
using testing::TakeClientError;

// A printer that only has a name; `on_name` runs inside get_Name, once.
class NamedPrinter : public frame::AutomationObject<IPrinterStubs, IID_IPrinter, CLSID_Printer> {
 public:
  STDMETHODIMP get_Name(BSTR* retName) override {
    if (std::function<void()> hook = std::exchange(on_name, nullptr)) hook();
    std::this_thread::yield();  // widen the window between reading names and changing the list
    *retName = Bstr(name).Detach();
    return S_OK;
  }
  std::string name;
  std::function<void()> on_name;  // set before the printer is shared with other threads
};

ComPtr<NamedPrinter> MakePrinter(const std::string& name) {
  auto printer = ComPtr<NamedPrinter>::Adopt(frame::CreateObject<NamedPrinter>());
  printer->name = name;
  return printer;
}

VARIANT ObjectArgument(NamedPrinter* printer) {
  VARIANT argument;
  VariantInit(&argument);
  V_VT(&argument) = VT_DISPATCH;
  V_DISPATCH(&argument) = static_cast<IPrinter*>(printer);  // borrowed for the call
  return argument;
}

HRESULT RemoveByName(Printers* printers, const std::string& name) {
  Bstr text(name);
  VARIANT argument;
  VariantInit(&argument);
  V_VT(&argument) = VT_BSTR;
  V_BSTR(&argument) = text.get();  // borrowed for the call
  return printers->Remove(argument);
}

std::vector<std::string> NamesIn(Printers* printers) {
  LONG count = 0;
  printers->get_Count(&count);
  std::vector<std::string> names;
  for (LONG i = 1; i <= count; ++i) {
    VARIANT index;
    VariantInit(&index);
    V_VT(&index) = VT_I4;
    V_I4(&index) = i;
    ComPtr<IPrinter> printer;
    if (FAILED(printers->get_Item(index, printer.Receive()))) break;
    Bstr name;
    printer->get_Name(name.receive());
    names.push_back(frame::BstrToUtf8(name.get()));
  }
  return names;
}

class PrintersCollectionTest : public ::testing::Test {
 protected:
  void Fill(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      kept_.push_back(MakePrinter(name));
      ASSERT_EQ(printers_->Add(ObjectArgument(kept_.back().Get())), S_OK);
    }
  }
  NamedPrinter* Kept(size_t i) { return kept_[i].Get(); }

  ComPtr<Printers> printers_ = ComPtr<Printers>::Adopt(frame::CreateObject<Printers>());
  std::vector<ComPtr<NamedPrinter>> kept_;
};

TEST_F(PrintersCollectionTest, RemoveTakesTheFirstOfTheNameAndFailsQuietlyForAnUnknownOne) {
  Fill({"A", "B", "A"});
  TakeClientError();
  EXPECT_EQ(RemoveByName(printers_.Get(), "Nobody"), E_INVALIDARG);
  EXPECT_FALSE(TakeClientError().present) << "an unknown name leaves no text";
  EXPECT_EQ(RemoveByName(printers_.Get(), "A"), S_OK);
  EXPECT_EQ(NamesIn(printers_.Get()), (std::vector<std::string>{"B", "A"}));
  EXPECT_EQ(printers_->Remove(ObjectArgument(Kept(1))), S_OK) << "by the object's name";
  EXPECT_EQ(NamesIn(printers_.Get()), (std::vector<std::string>{"A"}));

  VARIANT number;
  VariantInit(&number);
  V_VT(&number) = VT_I4;
  V_I4(&number) = 1;
  EXPECT_EQ(printers_->Remove(number), E_INVALIDARG);
  EXPECT_EQ(TakeClientError().description, "Invalid argument");
}

// While Remove("C") reads the names, another thread removes "A": the
// positions move, and C must still be the one that goes.
TEST_F(PrintersCollectionTest, RemoveTakesTheNamedPrinterWhenAnotherThreadRemovesOneBeforeIt) {
  Fill({"A", "B", "C", "D"});
  Kept(1)->on_name = [this] {
    std::thread other([this] { EXPECT_EQ(RemoveByName(printers_.Get(), "A"), S_OK); });
    other.join();
  };
  EXPECT_EQ(RemoveByName(printers_.Get(), "C"), S_OK);
  EXPECT_EQ(NamesIn(printers_.Get()), (std::vector<std::string>{"B", "D"}));
}

// Threads add and remove printers of their own names: each Remove finds its
// own printer, and the collection ends empty.
TEST_F(PrintersCollectionTest, ConcurrentAddAndRemoveEachTakeTheirOwnPrinter) {
  constexpr int kThreads = 4, kRounds = 150;
  std::vector<std::thread> threads;
  std::vector<int> failures(kThreads, 0);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([this, t, &failures] {
      for (int round = 0; round < kRounds; ++round) {
        const std::string name = std::to_string(t) + "/" + std::to_string(round % 3);
        const auto printer = MakePrinter(name);
        if (printers_->Add(ObjectArgument(printer.Get())) != S_OK) ++failures[t];
        if (RemoveByName(printers_.Get(), name) != S_OK) ++failures[t];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(kThreads, 0));
  EXPECT_EQ(NamesIn(printers_.Get()), std::vector<std::string>{});
}

}  // namespace
}  // namespace vantrel
