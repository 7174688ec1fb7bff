#include "platform/printer_device_context.h"

#include <windows.h>
#include <winspool.h>

#include <cstring>
#include <vector>

#include "platform/wide_text_win.h"

namespace vantrel::platform {
namespace {

// The driver's private escapes.
constexpr int kCapabilityEscape = 11002;
constexpr int kTestLabelEscape = 11052;
constexpr size_t kCapabilityByte = 10;

// The printer's default device mode as DocumentProperties gives it; empty
// when it cannot be read (the device context then takes the driver's own).
std::vector<BYTE> DefaultDeviceMode(std::wstring name) {
  HANDLE printer = nullptr;
  if (!OpenPrinterW(name.data(), &printer, nullptr)) return {};
  std::vector<BYTE> mode;
  const LONG size = DocumentPropertiesW(nullptr, printer, name.data(), nullptr, nullptr, 0);
  if (size >= static_cast<LONG>(sizeof(DEVMODEW))) {
    mode.resize(static_cast<size_t>(size));
    if (DocumentPropertiesW(nullptr, printer, name.data(), reinterpret_cast<DEVMODEW*>(mode.data()),
                            nullptr, DM_OUT_BUFFER) != IDOK)
      mode.clear();
  }
  ClosePrinter(printer);
  return mode;
}

DriverEscapes ReadEscapes(HDC dc) {
  DriverEscapes escapes;
  const int size = ExtEscape(dc, kCapabilityEscape, 0, nullptr, 0, nullptr);
  if (size > static_cast<int>(kCapabilityByte)) {
    std::vector<char> block(static_cast<size_t>(size));
    if (ExtEscape(dc, kCapabilityEscape, 0, nullptr, size, block.data()) > 0)
      escapes.capability_flag = (block[kCapabilityByte] & 1) != 0;
  }
  escapes.prints_test_labels = ExtEscape(dc, kTestLabelEscape, 0, nullptr, 0, nullptr) == 1;
  return escapes;
}

class GdiPrinterContext final : public PrinterDeviceContext {
 public:
  GdiPrinterContext(HDC dc, std::vector<BYTE> mode)
      : dc_(dc), mode_(std::move(mode)), escapes_(ReadEscapes(dc)) {}
  ~GdiPrinterContext() override {
    if (in_document_) static_cast<void>(EndDocument());
    DeleteDC(dc_);
  }

  int32_t DotsPerInchX() const override { return GetDeviceCaps(dc_, LOGPIXELSX); }
  int32_t DotsPerInchY() const override { return GetDeviceCaps(dc_, LOGPIXELSY); }

  PaperFields Paper() const override {
    PaperFields paper;
    if (mode_.empty()) return paper;
    const auto* mode = reinterpret_cast<const DEVMODEW*>(mode_.data());
    paper.has_width = (mode->dmFields & DM_PAPERWIDTH) != 0;
    paper.paper_width = paper.has_width ? mode->dmPaperWidth : 0;
    paper.has_length = (mode->dmFields & DM_PAPERLENGTH) != 0;
    paper.paper_length = paper.has_length ? mode->dmPaperLength : 0;
    return paper;
  }

  DriverEscapes Escapes() const override { return escapes_; }

  PlatformResult StartDocument(std::string_view document_name) override {
    const std::wstring name = Widen(document_name);
    DOCINFOW info{};
    info.cbSize = sizeof(info);
    info.lpszDocName = name.c_str();
    if (StartDocW(dc_, &info) <= 0) return LastErrorOr(kErrorCantWrite);
    in_document_ = true;
    if (StartPage(dc_) <= 0) return LastErrorOr(kErrorCantWrite);
    return kErrorSuccess;
  }

  void FillBlack(int32_t left, int32_t top, int32_t right, int32_t bottom) override {
    PatBlt(dc_, left, top, right - left, bottom - top, BLACKNESS);
  }

  PlatformResult HandTestLabelToDriver(uint32_t kind) override {
    std::vector<char> block(sizeof(kind) + mode_.size());
    for (size_t i = 0; i < sizeof(kind); ++i) block[i] = static_cast<char>(kind >> (8 * i));
    if (!mode_.empty()) std::memcpy(block.data() + sizeof(kind), mode_.data(), mode_.size());
    if (ExtEscape(dc_, kTestLabelEscape, static_cast<int>(block.size()), block.data(), 0,
                  nullptr) <= 0)
      return LastErrorOr(kErrorNotSupported);
    return kErrorSuccess;
  }

  PlatformResult EndDocument() override {
    in_document_ = false;
    const bool page_ended = EndPage(dc_) > 0;
    const long page_error = page_ended ? kErrorSuccess : LastErrorOr(kErrorCantWrite);
    if (EndDoc(dc_) <= 0) return page_ended ? LastErrorOr(kErrorCantWrite) : page_error;
    return page_error;
  }

 private:
  static long LastErrorOr(long otherwise) {
    const DWORD error = GetLastError();
    return error != 0 ? static_cast<long>(error) : otherwise;
  }

  HDC const dc_;
  const std::vector<BYTE> mode_;
  const DriverEscapes escapes_;
  bool in_document_ = false;
};

}  // namespace

PlatformResult OpenPrinterDeviceContext(const std::string& printer_name,
                                        std::unique_ptr<PrinterDeviceContext>* context) {
  const std::wstring name = Widen(printer_name);
  std::vector<BYTE> mode = DefaultDeviceMode(name);
  SetLastError(0);
  HDC dc = CreateDCW(L"WINSPOOL", name.c_str(), nullptr,
                     mode.empty() ? nullptr : reinterpret_cast<const DEVMODEW*>(mode.data()));
  if (dc == nullptr) {
    const DWORD error = GetLastError();
    return error != 0 ? static_cast<long>(error) : kErrorInvalidPrinterName;
  }
  *context = std::make_unique<GdiPrinterContext>(dc, std::move(mode));
  return kErrorSuccess;
}

}  // namespace vantrel::platform
