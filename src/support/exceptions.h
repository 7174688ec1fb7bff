// The exceptions library code throws. Automation members run in an error frame
// (exception_handler.h) that turns each kind into a result code and a text.
#pragma once

#include <cstdint>
#include <string>

namespace vantrel {

// Result codes are HRESULT values: signed 32 bits, failure when negative.
using ResultCode = int32_t;

constexpr ResultCode ToResultCode(uint32_t bits) { return static_cast<ResultCode>(bits); }

// Where an exception was raised, when the thrower records it.
struct ExceptionOrigin {
  const char* function = nullptr;
  const char* file = nullptr;
  int line = 0;
};

// An expected, client-visible failure: a fixed text and its result code.
class KestoException {
 public:
  KestoException(ResultCode code, const char* text) : code_(code), text_(text) {}
  ResultCode code() const { return code_; }
  const char* text() const { return text_; }

 private:
  ResultCode code_;
  const char* text_;  // static text
};

// A failed platform call: a text, the Windows error number and, when known,
// the system's message for that number.
class OException {
 public:
  explicit OException(std::string text = "Unspecified Kesto error", long error = 0,
                      std::string message = {}, ExceptionOrigin origin = {});
  // Takes the error number from the thread's last platform error and the
  // system's message text for it.
  static OException FromLastError(std::string text, ExceptionOrigin origin = {});

  const std::string& text() const { return text_; }
  long error() const { return error_; }
  const std::string& message() const { return message_; }
  const ExceptionOrigin& origin() const { return origin_; }

 private:
  std::string text_;
  long error_;
  std::string message_;
  ExceptionOrigin origin_;
};

// A failure inside general library code.
class OStdException {
 public:
  explicit OStdException(std::string message, ExceptionOrigin origin = {})
      : message_(std::move(message)), origin_(origin) {}
  const std::string& message() const { return message_; }
  const ExceptionOrigin& origin() const { return origin_; }

 private:
  std::string message_;
  ExceptionOrigin origin_;
};

// Records the throwing function, file and line.
#define VANTREL_ORIGIN (::vantrel::ExceptionOrigin{__func__, __FILE__, __LINE__})

}  // namespace vantrel
