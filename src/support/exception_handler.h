// The error frame: runs a body, catches whatever it throws, and turns it into
// a result code and a client text; platform and library failures are also
// reported to the process's event log.
//
//   Caught          logged  client text                         result
//   OException      yes     its message, else "Unspecified error" 0x8007xxxx from its
//                                                               error (below 1: 1359)
//   std::bad_alloc  no      "Out of memory"                     0x8007000E
//   KestoException  no      its text                            its code
//   OStdException   yes     its message                         0x80004005
//   anything else   no      "Unspecified error"                 0x80004005
#pragma once

#include <functional>
#include <string>

#include "support/exceptions.h"

namespace vantrel {

constexpr ResultCode kResultOk = 0;
constexpr ResultCode kResultFail = ToResultCode(0x80004005);
constexpr ResultCode kResultOutOfMemory = ToResultCode(0x8007000E);

// Report levels: 2 in automation members, 9 in thread procedures.
constexpr int kReportLevelMethod = 2;
constexpr int kReportLevelThread = 9;

class OExceptionHandler {
 public:
  // `source` is static text such as "OThread::ThreadProc".
  OExceptionHandler(const char* source, int level) : source_(source), level_(level) {}
  virtual ~OExceptionHandler() = default;

  // Runs `body`; returns kResultOk when it returns normally, else the result
  // of the table above after OnFailure has been called. Never throws.
  ResultCode Run(const std::function<void()>& body);

  // Writes the log report for a platform or library failure. Never throws.
  void Report(const OException& e) const;
  void Report(const OStdException& e) const;

  // The report text, as written to the log (exposed for tests).
  std::string ComposeReport(const char* kind, const std::string& message,
                            const ExceptionOrigin& origin) const;

  const char* source() const { return source_; }
  int level() const { return level_; }

 protected:
  // Called with the result and the client text of a failure. The automation
  // frame overrides it to publish the client's error information.
  virtual void OnFailure(ResultCode result, const std::string& text) {}

 private:
  const char* source_;
  int level_;
};

// Converts a Windows error number to its result code (0x8007xxxx).
ResultCode ResultFromWin32(long error);

}  // namespace vantrel
