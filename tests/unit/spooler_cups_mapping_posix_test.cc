// The CUPS attribute tables, on IPP messages built in memory.
#include <gtest/gtest.h>

#include "platform/cups/cups_mapping_posix.h"
#include "platform/cups/cups_ppd_posix.h"
#include "platform/win32_errors.h"

namespace vantrel::platform::cups {
namespace {

TEST(CupsMappingTest, PrinterStateReasonsInAnySeverityBecomeStatusBits) {
  EXPECT_EQ(PrinterStatusFrom(IPP_PSTATE_IDLE, {"media-empty-error", "door-open"}),
            kPrinterStatusPaperOut | kPrinterStatusDoorOpen);
  EXPECT_EQ(PrinterStatusFrom(IPP_PSTATE_IDLE, {"toner-low-warning", "offline-report"}),
            kPrinterStatusTonerLow | kPrinterStatusOffline);
  EXPECT_EQ(PrinterStatusFrom(IPP_PSTATE_STOPPED, {"none"}), kPrinterStatusPaused);
  EXPECT_EQ(PrinterStatusFrom(IPP_PSTATE_PROCESSING, {}), kPrinterStatusPrinting);
  // An unknown error still reads as an error; an unknown warning as nothing.
  EXPECT_EQ(PrinterStatusFrom(IPP_PSTATE_IDLE, {"fuser-over-temp-error"}), kPrinterStatusError);
  EXPECT_EQ(PrinterStatusFrom(IPP_PSTATE_IDLE, {"fuser-over-temp-warning"}), 0u);
  // A suffix alone is no keyword.
  EXPECT_EQ(PrinterStatusFrom(IPP_PSTATE_IDLE, {"-error"}), 0u);
}

TEST(CupsMappingTest, JobStatusDecidesOnTheStateBeforeTheReasons) {
  EXPECT_EQ(JobStatusFrom(IPP_JSTATE_COMPLETED, {"processing-to-stop-point"}),
            kJobStatusPrinted | kJobStatusComplete);
  EXPECT_EQ(JobStatusFrom(IPP_JSTATE_PROCESSING, {"processing-to-stop-point"}),
            kJobStatusPrinting | kJobStatusDeleting);
  EXPECT_EQ(JobStatusFrom(IPP_JSTATE_HELD, {"job-hold-until-specified"}), kJobStatusPaused);
  EXPECT_EQ(JobStatusFrom(IPP_JSTATE_PENDING, {"job-incoming"}), kJobStatusSpooling);
  EXPECT_EQ(JobStatusFrom(IPP_JSTATE_CANCELED, {}), kJobStatusDeleted);
}

TEST(CupsMappingTest, PrinterTypeAndSharing) {
  const int unshared = 0x200004;  // as a raw queue reads, not shared
  EXPECT_EQ(PrinterAttributesFrom(unshared, false, kRawMakeAndModel),
            kPrinterAttributeQueued | kPrinterAttributeLocal | kPrinterAttributeRawOnly);
  // The not-shared bit wins over a stale printer-is-shared.
  EXPECT_FALSE(PrinterAttributesFrom(unshared, true, "") & kPrinterAttributeShared);
  EXPECT_TRUE(PrinterAttributesFrom(0x4, true, "") & kPrinterAttributeShared);
  const uint32_t remote = PrinterAttributesFrom(0x2 /* remote */, false, "Model");
  EXPECT_TRUE(remote & kPrinterAttributeNetwork);
  EXPECT_FALSE(remote & (kPrinterAttributeLocal | kPrinterAttributeRawOnly));
}

ipp_t* TwoPrinters() {
  ipp_t* message = ippNew();
  ippAddString(message, IPP_TAG_OPERATION, IPP_TAG_CHARSET, "attributes-charset", nullptr, "utf-8");
  ippAddString(message, IPP_TAG_PRINTER, IPP_TAG_NAME, "printer-name", nullptr, "First");
  ippAddString(message, IPP_TAG_PRINTER, IPP_TAG_TEXT, "printer-info", nullptr, "one");
  ippAddString(message, IPP_TAG_PRINTER, IPP_TAG_URI, "device-uri", nullptr,
               "socket://10.0.0.1:9100");
  ippAddInteger(message, IPP_TAG_PRINTER, IPP_TAG_ENUM, "printer-state", IPP_PSTATE_STOPPED);
  const char* reasons[] = {"media-jam-error", "cover-open"};
  ippAddStrings(message, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, "printer-state-reasons", 2, nullptr,
                reasons);
  ippAddInteger(message, IPP_TAG_PRINTER, IPP_TAG_INTEGER, "queued-job-count", 3);
  ippAddSeparator(message);
  ippAddString(message, IPP_TAG_PRINTER, IPP_TAG_NAME, "printer-name", nullptr, "Second");
  ippAddString(message, IPP_TAG_PRINTER, IPP_TAG_TEXT, "printer-location", nullptr, "two");
  return message;
}

TEST(CupsMappingTest, EachPrinterGroupIsOneRecord) {
  ipp_t* message = TwoPrinters();
  std::vector<PrinterInfo2> printers;
  ForEachGroup(message, IPP_TAG_PRINTER,
               [&](const AttributeGroup& group) { printers.push_back(PrinterFromGroup(group)); });
  ippDelete(message);
  ASSERT_EQ(printers.size(), 2u);
  EXPECT_EQ(printers[0].printer_name, "First");
  EXPECT_EQ(printers[0].comment, "one");
  EXPECT_EQ(printers[0].port_name, "socket://10.0.0.1:9100");
  EXPECT_EQ(printers[0].status,
            kPrinterStatusPaused | kPrinterStatusPaperJam | kPrinterStatusDoorOpen);
  EXPECT_EQ(printers[0].jobs, 3u);
  // Nothing of the first group leaks into the second.
  EXPECT_EQ(printers[1].printer_name, "Second");
  EXPECT_EQ(printers[1].comment, "");
  EXPECT_EQ(printers[1].location, "two");
  EXPECT_EQ(printers[1].status, 0u);
}

TEST(CupsMappingTest, JobGroup) {
  ipp_t* message = ippNew();
  ippAddInteger(message, IPP_TAG_JOB, IPP_TAG_INTEGER, "job-id", 17);
  ippAddString(message, IPP_TAG_JOB, IPP_TAG_URI, "job-printer-uri", nullptr,
               "ipp://localhost/printers/Shelf%20A");
  ippAddString(message, IPP_TAG_JOB, IPP_TAG_NAME, "job-name", nullptr, "labels");
  ippAddString(message, IPP_TAG_JOB, IPP_TAG_NAME, "job-originating-user-name", nullptr, "ann");
  ippAddString(message, IPP_TAG_JOB, IPP_TAG_MIMETYPE, "document-format", nullptr,
               "application/vnd.cups-raw");
  ippAddInteger(message, IPP_TAG_JOB, IPP_TAG_ENUM, "job-state", IPP_JSTATE_HELD);
  ippAddString(message, IPP_TAG_JOB, IPP_TAG_NAME, "job-hold-until", nullptr, "07:30");
  ippAddInteger(message, IPP_TAG_JOB, IPP_TAG_INTEGER, "job-k-octets", 5);
  ippAddInteger(message, IPP_TAG_JOB, IPP_TAG_INTEGER, "time-at-creation", 86400 + 3661);
  JobInfo2 job;
  ForEachGroup(message, IPP_TAG_JOB,
               [&](const AttributeGroup& group) { job = JobFromGroup(group); });
  ippDelete(message);
  EXPECT_EQ(job.job_id, 17u);
  EXPECT_EQ(job.printer_name, "Shelf A");
  EXPECT_EQ(job.document, "labels");
  EXPECT_EQ(job.user_name, "ann");
  EXPECT_EQ(job.notify_name, "ann");
  EXPECT_EQ(job.datatype, "RAW");
  EXPECT_EQ(job.status, kJobStatusPaused);
  EXPECT_EQ(job.start_time, 450u);
  EXPECT_EQ(job.size, 5120u);
  EXPECT_EQ(job.submitted.year, 1970);
  EXPECT_EQ(job.submitted.day, 2);
  EXPECT_EQ(job.submitted.hour, 1);
  EXPECT_EQ(job.submitted.minute, 1);
  EXPECT_EQ(job.submitted.second, 1);
}

TEST(CupsMappingTest, HoldUntilTimes) {
  EXPECT_EQ(HoldUntilFromMinutes(450), "07:30");
  EXPECT_EQ(HoldUntilFromMinutes(0), "00:00");
  EXPECT_EQ(MinutesFromHoldUntil("23:59"), 1439);
  for (const char* text : {"no-hold", "24:00", "07:60", "7", "07:30:00", ""})
    EXPECT_EQ(MinutesFromHoldUntil(text), -1) << text;
}

TEST(CupsMappingTest, IppStatusesBecomeSpoolerErrors) {
  EXPECT_EQ(ErrorFromIppStatus(IPP_STATUS_OK, true), kErrorSuccess);
  EXPECT_EQ(ErrorFromIppStatus(IPP_STATUS_OK_IGNORED_OR_SUBSTITUTED, true), kErrorSuccess);
  EXPECT_EQ(ErrorFromIppStatus(IPP_STATUS_ERROR_NOT_FOUND, true), kErrorInvalidPrinterName);
  EXPECT_EQ(ErrorFromIppStatus(IPP_STATUS_ERROR_NOT_FOUND, false), kErrorInvalidParameter);
  EXPECT_EQ(ErrorFromIppStatus(IPP_STATUS_ERROR_FORBIDDEN, false), kErrorAccessDenied);
  EXPECT_EQ(ErrorFromIppStatus(IPP_STATUS_ERROR_SERVICE_UNAVAILABLE, false),
            kErrorSpoolerUnavailable);
}

TEST(CupsMappingTest, ShareNamesAndUris) {
  EXPECT_FALSE(IsInvalidShareName("Labels-1"));
  EXPECT_FALSE(IsInvalidShareName(""));
  for (const char* bad : {"a,b", "x/y", "a\\b", "q?", "star*"})
    EXPECT_TRUE(IsInvalidShareName(bad)) << bad;
  EXPECT_TRUE(IsInvalidShareName(std::string(81, 'a')));
  EXPECT_EQ(PrinterNameFromUri("ipp://localhost:631/printers/Q1"), "Q1");
  EXPECT_EQ(PrinterNameFromUri("Q%"), "");
  EXPECT_EQ(PrinterNameFromUri("ipp://h/printers/A%2"), "A%2");  // a cut escape stays
}

TEST(CupsPpdTest, FileVersionIsTheKeywordsValueAtTheStartOfALine) {
  EXPECT_EQ(PpdFileVersion("*PPD-Adobe: \"4.3\"\n*FileVersion: \"2.5\"\n"), "2.5");
  EXPECT_EQ(PpdFileVersion("*FileVersion:\t\" 1.0.3 \"\r\n*NickName: \"x\""), "1.0.3");
  EXPECT_EQ(PpdFileVersion("*% *FileVersion: \"9\"\n*FileVersion: \"3\""), "3");  // a comment
  EXPECT_EQ(PpdFileVersion("*FileVersion: \"7\""), "7");  // the last line, unended
  EXPECT_EQ(PpdFileVersion("*FormatVersion: \"4.3\"\n"), "");
  EXPECT_EQ(PpdFileVersion("*FileVersion: \"\"\n"), "");
  EXPECT_EQ(PpdFileVersion(""), "");
}

}  // namespace
}  // namespace vantrel::platform::cups
