#include "platform/system_log.h"

#include <windows.h>

#include "platform/wide_text_win.h"

namespace vantrel::platform {
namespace {

WORD EventTypeOf(SystemLogType type) {
  switch (type) {
    case SystemLogType::kError:
      return EVENTLOG_ERROR_TYPE;
    case SystemLogType::kWarning:
      return EVENTLOG_WARNING_TYPE;
    case SystemLogType::kInformation:
    case SystemLogType::kDetail:
      return EVENTLOG_INFORMATION_TYPE;
  }
  return EVENTLOG_INFORMATION_TYPE;
}

class WindowsEventLog : public SystemLog {
 public:
  // A null handle (no right to register) makes every Write a no-op.
  explicit WindowsEventLog(HANDLE source) : source_(source) {}
  ~WindowsEventLog() override {
    if (source_ != nullptr) DeregisterEventSource(source_);
  }

  // ReportEventW is thread-safe on one handle.
  void Write(SystemLogType type, std::string_view message) override {
    if (source_ == nullptr) return;
    const std::wstring text = Widen(message);
    const wchar_t* strings[] = {text.c_str()};
    ReportEventW(source_, EventTypeOf(type), 0, 0, nullptr, 1, 0, strings, nullptr);
  }

 private:
  const HANDLE source_;
};

}  // namespace

std::unique_ptr<SystemLog> OpenSystemLog(const std::string& source) {
  return std::make_unique<WindowsEventLog>(RegisterEventSourceW(nullptr, Widen(source).c_str()));
}

void DebugOutput(std::string_view text) { OutputDebugStringW(Widen(text).c_str()); }

}  // namespace vantrel::platform
