// The winspool spooler as far as Wine's spooler goes: no queue can be added
// there, so this checks the failures and the enumerations.
#include <gtest/gtest.h>

#include "platform/spooler.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

TEST(WinSpoolerTest, UnknownPrinterIsAnInvalidName) {
  auto spooler = OpenPlatformSpooler();
  std::unique_ptr<SpoolerPrinter> printer;
  EXPECT_EQ(spooler->Open("No Such Printer 7", kPrinterAllAccess, &printer),
            kErrorInvalidPrinterName);
  EXPECT_EQ(spooler->Open("No Such Printer 7", kPrinterAccessUse, &printer),
            kErrorInvalidPrinterName);
  EXPECT_EQ(printer, nullptr);
}

TEST(WinSpoolerTest, EnumerationsAnswerAndAgree) {
  auto spooler = OpenPlatformSpooler();
  std::vector<PrinterInfo2> two{PrinterInfo2{}};
  std::vector<PrinterInfo4> four{PrinterInfo4{}};
  ASSERT_EQ(spooler->EnumPrinters2(kEnumLocal | kEnumConnections, &two), kErrorSuccess);
  ASSERT_EQ(spooler->EnumPrinters4(kEnumLocal | kEnumConnections, &four), kErrorSuccess);
  ASSERT_EQ(two.size(), four.size());
  for (size_t i = 0; i < two.size(); ++i) EXPECT_EQ(two[i].printer_name, four[i].printer_name);
  std::vector<PortInfo2> ports;
  EXPECT_EQ(spooler->EnumPorts2(&ports), kErrorSuccess);
}

TEST(WinSpoolerTest, PrintersListedCanBeOpenedAndRead) {
  auto spooler = OpenPlatformSpooler();
  std::vector<PrinterInfo2> printers;
  ASSERT_EQ(spooler->EnumPrinters2(kEnumLocal, &printers), kErrorSuccess);
  for (const PrinterInfo2& listed : printers) {
    std::unique_ptr<SpoolerPrinter> printer;
    ASSERT_EQ(spooler->Open(listed.printer_name, kPrinterAccessUse, &printer), kErrorSuccess);
    PrinterInfo2 info;
    ASSERT_EQ(printer->GetInfo2(&info), kErrorSuccess);
    EXPECT_EQ(info.printer_name, listed.printer_name);
    uint32_t type = 0;
    std::vector<uint8_t> data;
    EXPECT_NE(printer->GetData("Kesto Interface V3", &type, &data), kErrorSuccess);
  }
}

}  // namespace
}  // namespace vantrel::platform
