// The client-visible failures of the library: each a result code and its
// fixed text, thrown as KestoException.
#pragma once

#include "support/exceptions.h"

namespace vantrel::frame {

struct KestoError {
  ResultCode code;
  const char* text;
};

inline constexpr KestoError kInvalidArgument{ToResultCode(0x80070057), "Invalid argument"};
inline constexpr KestoError kNotImplemented{ToResultCode(0x80004001), "Not implemented"};
inline constexpr KestoError kPrinterNotInitialized{ToResultCode(0x80042000),
                                                   "Printer object not initialized"};
inline constexpr KestoError kPrinterNotRecognized{ToResultCode(0x80042001),
                                                  "Printer not recognized"};
inline constexpr KestoError kInvalidPrinter{ToResultCode(0x80042002), "Invalid printer"};
inline constexpr KestoError kCouldNotOpenPrinter{ToResultCode(0x80042003),
                                                 "Could not open printer"};
inline constexpr KestoError kPrinterStatusNotInitialized{ToResultCode(0x80042100),
                                                         "PrinterStatus object not initialized"};
inline constexpr KestoError kPrinterConfigurationNotInitialized{
    ToResultCode(0x80042101), "PrinterConfiguration object not initialized"};
inline constexpr KestoError kPrinterPortNotInitialized{ToResultCode(0x80042102),
                                                       "PrinterPort object not initialized"};
inline constexpr KestoError kInvalidPort{ToResultCode(0x80042103), "Invalid port"};
inline constexpr KestoError kInvalidShareName{ToResultCode(0x80042104),
                                              "Invalid printer share name"};
inline constexpr KestoError kPrinterQueryFailed{ToResultCode(0x80042106), "Printer Query failed"};
// The misspelling is part of the shipped text.
inline constexpr KestoError kNotificationPrivileges{
    ToResultCode(0x80042107), "Insufficient privleges to register for printer notifications"};
inline constexpr KestoError kJobNotInitialized{ToResultCode(0x80042200),
                                               "Job object not initialized"};
inline constexpr KestoError kInvalidJob{ToResultCode(0x80042201), "Invalid job"};
inline constexpr KestoError kJobStatusNotInitialized{ToResultCode(0x80042300),
                                                     "JobStatus object not initialized"};
inline constexpr KestoError kJobScheduleNotInitialized{ToResultCode(0x80042400),
                                                       "JobSchedule object not initialized"};
inline constexpr KestoError kFeatureNotSupported{ToResultCode(0x80042801), "Feature not supported"};

[[noreturn]] inline void Throw(const KestoError& error) {
  throw KestoException(error.code, error.text);
}

}  // namespace vantrel::frame
