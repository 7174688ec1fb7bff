#include "object_failure.h"

#include <cstdio>
#include <memory>

#include "frame/error_texts.h"
#include "frame/ole_string.h"
#include "platform/platform_error.h"
#include "platform/spooler.h"

namespace vantrel::tool {

std::string WhyNotOpened(const std::string& name) {
  std::unique_ptr<platform::SpoolerPrinter> printer;
  const long error = platform::DefaultSpooler().Open(name, platform::kPrinterAccessUse, &printer);
  return error == platform::kErrorSuccess ? std::string() : platform::PlatformErrorMessage(error);
}

int ReportObjectFailure(HRESULT result, const std::string& printer) {
  std::string text = "Unspecified error";
  IErrorInfo* info = nullptr;
  if (GetErrorInfo(0, &info) == S_OK && info != nullptr) {
    frame::Bstr description;
    if (SUCCEEDED(info->GetDescription(description.receive())))
      text = frame::BstrToUtf8(description.get());
    info->Release();
  }
  if (static_cast<ResultCode>(result) == frame::kCouldNotOpenPrinter.code && !printer.empty()) {
    const std::string reason = WhyNotOpened(printer);
    if (!reason.empty()) text += ": " + reason;
  }
  std::fprintf(stderr, "vantrel: %s (0x%08X)\n", text.c_str(), static_cast<uint32_t>(result));
  return 1;
}

}  // namespace vantrel::tool
