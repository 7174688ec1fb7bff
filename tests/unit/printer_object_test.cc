// The Printer object over the fake spooler: how it binds to its printer's
// shared context, its properties and their failures, SendFile, the driver's
// version and date, and how connected sinks list it for printer events.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <thread>
#include <vector>

#include "fakes/fake_spooler.h"
#include "frame/com_ptr.h"
#include "frame/object.h"
#include "frame/ole_string.h"
#include "platform/file_date.h"
#include "platform/spooler.h"
#include "printers/printer.h"
#include "printers/printer_context.h"
#include "printers/printer_context_registry.h"
#include "support/exceptions.h"
#include "unit/frame_test_support.h"
#include "unit/scratch.h"
#include "vantrel_stubs.h"

namespace vantrel {
namespace {

using frame::Bstr;
using frame::ComPtr;
using testing::TakeClientError;

constexpr HRESULT kInvalidArgument = static_cast<HRESULT>(0x80070057);

class PrinterObjectTest : public ::testing::Test {
 protected:
  PrinterObjectTest() {
    platform::SetSpoolerForTesting(&spooler_);
    spooler_.AddPrinter("Labels");
    spooler_.AddPrinter("Other");
    spooler_.AddPort("socket://127.0.0.1:9100");
  }
  ~PrinterObjectTest() override {
    printers::SetWatcherStarterForTesting(nullptr);
    platform::SetSpoolerForTesting(nullptr);
  }

  static ComPtr<Printer> NewPrinter(const std::string& name = "") {
    auto printer = ComPtr<Printer>::Adopt(frame::CreateObject<Printer>());
    if (!name.empty()) {
      EXPECT_EQ(Initialize(printer.Get(), name), S_OK);
    }
    return printer;
  }
  static HRESULT Initialize(Printer* printer, const std::string& name) {
    return printer->Initialize(Bstr(name).get());
  }
  // A text property's value, or its failure as "error 0x...".
  static std::string Read(Printer* printer, HRESULT (Printer::*get)(BSTR*)) {
    Bstr text;
    const HRESULT hr = (printer->*get)(text.receive());
    if (FAILED(hr)) return "error " + Hex(hr);
    return frame::BstrToUtf8(text.get());
  }
  static std::string Hex(HRESULT hr) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(hr));
    return text;
  }
  std::string WriteFile(const std::string& name, const std::string& bytes) {
    const std::string path = (scratch_.path() / name).string();
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  static printers::PrinterContext* ContextOf(const std::string& name) {
    printers::PrinterContextRegistry& registry = printers::PrinterContextRegistry::Instance();
    printers::PrinterContext* context = registry.Acquire(name);
    registry.Release(context);  // still held by the test's objects
    return context;
  }

  testing::FakeSpooler spooler_;
  testing::ScratchFolder scratch_;
};

// --- Binding ---------------------------------------------------------------

TEST_F(PrinterObjectTest, OneContextPerNameSharedByObjectsAndReleasedWhenTheyMove) {
  ComPtr<Printer> first = NewPrinter("Labels");
  EXPECT_EQ(Initialize(first.Get(), "Labels"), S_OK);  // the same name again
  ComPtr<Printer> second = NewPrinter("Labels");
  EXPECT_EQ(spooler_.Calls("Open"), 1);  // the printers and their ten children

  first = ComPtr<Printer>();
  EXPECT_EQ(spooler_.Calls("Close"), 0);
  EXPECT_EQ(Read(second.Get(), &Printer::get_Name), "Labels");

  EXPECT_EQ(Initialize(second.Get(), "Other"), S_OK);  // moves, children too
  EXPECT_EQ(spooler_.Calls("Close"), 1);
  EXPECT_EQ(spooler_.Calls("Open"), 2);
  EXPECT_EQ(Read(second.Get(), &Printer::get_Name), "Other");

  EXPECT_EQ(Initialize(second.Get(), "Nope"), static_cast<HRESULT>(0x80042003));
  EXPECT_EQ(TakeClientError().description, "Could not open printer");
  EXPECT_EQ(Read(second.Get(), &Printer::get_Name), "error 0x80042000");
}

// The first child that cannot bind ends Initialize with its error; those
// before it are bound, those after it are not, and the printer stays bound.
TEST_F(PrinterObjectTest, FailingChildEndsInitializeInChildOrder) {
  // A record whose name differs from the one asked for makes every child open
  // its own context; the fourth open (the configuration's) fails.
  spooler_.RenameRecord("Labels", "Labels (renamed)");
  spooler_.FailOpensAfter("Labels", 3);
  ComPtr<Printer> printer = NewPrinter();
  EXPECT_EQ(Initialize(printer.Get(), "Labels"), static_cast<HRESULT>(0x80042003));
  EXPECT_EQ(Read(printer.Get(), &Printer::get_Name), "Labels (renamed)");

  ComPtr<IPrinterStatus> status;
  ASSERT_EQ(printer->get_Status(status.Receive()), S_OK);
  Bstr text;
  EXPECT_NE(status->get_Text(text.receive()), static_cast<HRESULT>(0x80042100));
  ComPtr<IPrinterPort> port;
  ASSERT_EQ(printer->get_Port(port.Receive()), S_OK);
  EXPECT_EQ(port->get_Name(text.receive()), static_cast<HRESULT>(0x80042102));
  ComPtr<IPrintJobSchedule> schedule;
  ASSERT_EQ(printer->get_DefaultJobSchedule(schedule.Receive()), S_OK);
  LONG priority = 0;
  EXPECT_EQ(schedule->get_Priority(&priority), static_cast<HRESULT>(0x80042400));
}

// --- Properties ------------------------------------------------------------

// Before Initialize the members say so (the scripting client's test asks
// each of them) while children are handed out unbound; once bound, every
// getter refuses a null out pointer.
TEST_F(PrinterObjectTest, PropertiesAskForInitializeThenForAnOutPointer) {
  ComPtr<Printer> printer = NewPrinter();
  EXPECT_EQ(Read(printer.Get(), &Printer::get_Comment), "error 0x80042000");
  EXPECT_EQ(TakeClientError().description, "Printer object not initialized");
  ComPtr<IPrintQueue> queue;
  EXPECT_EQ(printer->get_Queue(queue.Receive()), S_OK);

  ASSERT_EQ(Initialize(printer.Get(), "Labels"), S_OK);
  const std::pair<const char*, HRESULT> answers[] = {
      {"Name", printer->get_Name(nullptr)},
      {"ServerName", printer->get_ServerName(nullptr)},
      {"ShareName", printer->get_ShareName(nullptr)},
      {"PortName", printer->get_PortName(nullptr)},
      {"ModelName", printer->get_ModelName(nullptr)},
      {"Comment", printer->get_Comment(nullptr)},
      {"Location", printer->get_Location(nullptr)},
      {"DriverVersion", printer->get_DriverVersion(nullptr)},
      {"DriverDate", printer->get_DriverDate(nullptr)},
      {"Local", printer->get_Local(nullptr)},
      {"Network", printer->get_Network(nullptr)},
      {"Shared", printer->get_Shared(nullptr)},
  };
  for (const auto& [name, result] : answers) EXPECT_EQ(result, kInvalidArgument) << name;
  EXPECT_EQ(TakeClientError().description, "Invalid argument");
}

TEST_F(PrinterObjectTest, SettersRefuseBadValuesAndShareUnderTheOwnName) {
  ComPtr<Printer> printer = NewPrinter("Labels");
  EXPECT_EQ(printer->put_ShareName(Bstr("front,desk").get()), static_cast<HRESULT>(0x80042104));
  EXPECT_EQ(TakeClientError().description, "Invalid printer share name");
  EXPECT_EQ(spooler_.Calls("SetInfo2"), 0);
  EXPECT_EQ(printer->put_PortName(Bstr("nowhere:").get()), static_cast<HRESULT>(0x80042103));
  EXPECT_EQ(TakeClientError().description, "Invalid port");
  EXPECT_EQ(Read(printer.Get(), &Printer::get_PortName), "file:///dev/null");

  EXPECT_EQ(printer->put_Shared(VARIANT_TRUE), S_OK);  // no share name yet
  EXPECT_EQ(Read(printer.Get(), &Printer::get_ShareName), "Labels");
  EXPECT_EQ(printer->put_ShareName(Bstr("").get()), S_OK);  // an empty name unshares
  VARIANT_BOOL shared = VARIANT_TRUE;
  EXPECT_EQ(printer->get_Shared(&shared), S_OK);
  EXPECT_EQ(shared, VARIANT_FALSE);
}

// --- SendFile --------------------------------------------------------------

TEST_F(PrinterObjectTest, SendFilePrintsOneJobNamedAfterTheFileOrFailsWithTheCause) {
  ComPtr<Printer> printer = NewPrinter("Labels");
  const std::string path = WriteFile("batch.prn", std::string("^XA\0^XZ", 7));
  const std::string missing = (scratch_.path() / "missing.prn").string();
  EXPECT_EQ(printer->SendFile(Bstr(missing).get(), Bstr("").get()),
            static_cast<HRESULT>(0x80070002));
  const std::string text = TakeClientError().description;
  EXPECT_NE(text.find(missing), std::string::npos) << text;
  EXPECT_EQ(spooler_.Calls("StartDoc"), 0);  // nothing reached the spooler

  EXPECT_EQ(printer->SendFile(Bstr(path).get(), Bstr("").get()), S_OK);
  EXPECT_EQ(spooler_.DocumentBytes(1), std::string("^XA\0^XZ", 7));
  std::unique_ptr<platform::SpoolerPrinter> handle;
  ASSERT_EQ(spooler_.Open("Labels", platform::kPrinterAccessUse, &handle), 0);
  platform::JobInfo2 job;
  ASSERT_EQ(handle->GetJob(1, &job), 0);
  EXPECT_EQ(job.document, "batch.prn");

  // The queue goes away under the open printer: the spooler refuses the job.
  spooler_.RemovePrinter("Labels");
  const int writes = spooler_.Calls("Write");
  EXPECT_EQ(printer->SendFile(Bstr(path).get(), Bstr("job").get()),
            static_cast<HRESULT>(0x80070006));
  const std::string why = TakeClientError().description;
  EXPECT_NE(why.find("'Labels'"), std::string::npos) << why;
  EXPECT_EQ(spooler_.Calls("Write"), writes);
}

// --- Driver version and date -----------------------------------------------

// A vendor driver's interface module first, then the driver file, then
// nothing: a spooler that cannot tell gives empty texts, not an error.
TEST_F(PrinterObjectTest, DriverVersionAndDateFallFromTheModuleToTheDriverFile) {
  const std::string module = WriteFile("interface.so", "no version table here");
  spooler_.AddPrinter("Vendor");
  spooler_.SetStringData("Vendor", "Kesto Interface V3", module);
  ComPtr<Printer> printer = NewPrinter("Vendor");
  int64_t seconds = 0;
  ASSERT_EQ(platform::ReadFileDate(module, &seconds), 0);
  EXPECT_EQ(Read(printer.Get(), &Printer::get_DriverVersion), "");  // a module without a table
  EXPECT_EQ(Read(printer.Get(), &Printer::get_DriverDate), platform::FormatFileDate(seconds));

  std::filesystem::remove(module);
  platform::DriverFile ppd;
  ppd.version = "1.2";
  ppd.time = 1763629200;  // 2025-11-20 in every time zone
  spooler_.SetDriverFile("Vendor", ppd);
  EXPECT_EQ(Read(printer.Get(), &Printer::get_DriverVersion), "1.2.0.0");
  EXPECT_EQ(Read(printer.Get(), &Printer::get_DriverDate), platform::FormatFileDate(ppd.time));

  spooler_.BreakRecords("Vendor");
  EXPECT_EQ(Read(printer.Get(), &Printer::get_DriverVersion), "");
  EXPECT_EQ(Read(printer.Get(), &Printer::get_DriverDate), "");
}

// --- Sinks and the printer's watcher ---------------------------------------

class PrinterEventsTest : public PrinterObjectTest {
 protected:
  static ComPtr<IConnectionPoint> Point(Printer* printer) {
    ComPtr<IConnectionPoint> point;
    EXPECT_EQ(printer->FindConnectionPoint(DIID__IPrinterEvents, point.Receive()), S_OK);
    return point;
  }
  static HRESULT Advise(Printer* printer, testing::RecordingSink& sink, DWORD* cookie) {
    return Point(printer)->Advise(&sink, cookie);
  }
  static HRESULT Unadvise(Printer* printer, DWORD cookie) {
    return Point(printer)->Unadvise(cookie);
  }
  testing::RecordingSink sink_{DIID__IPrinterEvents};
  testing::RecordingSink sink2_{DIID__IPrinterEvents};
};

// Listed once while any sink is connected; the listing moves with the object
// to another printer and leaves when the object goes, sinks still connected.
TEST_F(PrinterEventsTest, SinksListThePrinterOnceAndFollowItsObject) {
  ComPtr<Printer> printer = NewPrinter("Labels");
  ComPtr<Printer> keeper = NewPrinter("Other");  // keeps the second context open
  printers::PrinterContext* labels = ContextOf("Labels");
  DWORD first = 0, second = 0;
  ASSERT_EQ(Advise(printer.Get(), sink_, &first), S_OK);
  ASSERT_EQ(Advise(printer.Get(), sink2_, &second), S_OK);
  EXPECT_TRUE(labels->watcher_started());
  EXPECT_EQ(labels->printer_targets().size(), 1u);
  EXPECT_EQ(Unadvise(printer.Get(), first), S_OK);
  EXPECT_TRUE(labels->printer_targets().Contains(printer.Get()));

  ASSERT_EQ(Initialize(printer.Get(), "Other"), S_OK);
  EXPECT_EQ(spooler_.Calls("Close"), 1);  // Labels' context is not kept by the listing
  printers::PrinterContext* other = ContextOf("Other");
  EXPECT_TRUE(other->printer_targets().Contains(printer.Get()));
  printer = ComPtr<Printer>();
  EXPECT_EQ(other->printer_targets().size(), 0u);
  EXPECT_EQ(sink2_.references(), 0u);
}

TEST_F(PrinterEventsTest, AWatcherThatCannotStartRefusesTheSink) {
  ComPtr<Printer> printer = NewPrinter();
  DWORD early = 0;
  EXPECT_EQ(Advise(printer.Get(), sink2_, &early), S_OK);  // waits for Initialize
  printers::SetWatcherStarterForTesting(
      [] { throw OException("CreateThread", 8, "Not enough memory."); });
  EXPECT_EQ(Initialize(printer.Get(), "Labels"), static_cast<HRESULT>(0x80070008));
  EXPECT_EQ(Unadvise(printer.Get(), early), S_OK);
  ASSERT_EQ(Initialize(printer.Get(), "Labels"), S_OK);

  DWORD cookie = 7;
  EXPECT_EQ(Advise(printer.Get(), sink_, &cookie), static_cast<HRESULT>(0x80070008));
  EXPECT_EQ(TakeClientError().description, "Not enough memory.");
  EXPECT_EQ(sink_.references(), 0u);  // the connection was taken back
  printers::PrinterContext* context = ContextOf("Labels");
  EXPECT_EQ(context->printer_targets().size(), 0u);

  printers::SetWatcherStarterForTesting(nullptr);  // the next sink tries again
  EXPECT_EQ(Advise(printer.Get(), sink_, &cookie), S_OK);
  EXPECT_TRUE(context->watcher_started());
}

// A watcher takes a reference only from a listed printer that is still alive,
// while other threads connect, disconnect and drop their printers.
TEST_F(PrinterEventsTest, WatcherRetainsOnlyLivePrintersWhileClientsComeAndGo) {
  ComPtr<Printer> keeper = NewPrinter("Labels");
  printers::PrinterContext* context = ContextOf("Labels");
  std::atomic<bool> done{false};
  std::thread watcher([&] {
    while (!done) {
      for (const printers::RetainedTarget& target : context->printer_targets().Retain()) {
        Bstr name;
        EXPECT_EQ(static_cast<Printer*>(target.get())->get_Name(name.receive()), S_OK);
      }
    }
  });
  // The sinks outlive every printer: the last reference to a printer that
  // went with its sink connected may be the watcher's.
  testing::RecordingSink sinks[3] = {testing::RecordingSink{DIID__IPrinterEvents},
                                     testing::RecordingSink{DIID__IPrinterEvents},
                                     testing::RecordingSink{DIID__IPrinterEvents}};
  std::vector<std::thread> clients;
  for (int c = 0; c < 3; ++c) {
    clients.emplace_back([&, c] {
      testing::RecordingSink& sink = sinks[c];
      for (int i = 0; i < 150; ++i) {
        ComPtr<Printer> printer = NewPrinter("Labels");
        DWORD cookie = 0;
        EXPECT_EQ(Advise(printer.Get(), sink, &cookie), S_OK);
        if (i % 2 == 0) {
          EXPECT_EQ(Unadvise(printer.Get(), cookie), S_OK);
        }
      }  // every other printer goes with its sink connected
    });
  }
  for (std::thread& client : clients) client.join();
  done = true;
  watcher.join();
  EXPECT_EQ(context->printer_targets().size(), 0u);
}

}  // namespace
}  // namespace vantrel
