#include <windows.h>

#include "platform/file_reader.h"
#include "platform/wide_text_win.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

class WinFileReader : public FileReader {
 public:
  WinFileReader(HANDLE file, uint64_t size) : file_(file), size_(size) {}
  ~WinFileReader() override { CloseHandle(file_); }

  PlatformResult Read(void* buffer, size_t capacity, size_t* read) override {
    // ReadFile takes a 32-bit count; a larger buffer is filled by further calls.
    const DWORD asked = capacity > 0x40000000u ? 0x40000000u : static_cast<DWORD>(capacity);
    DWORD got = 0;
    *read = 0;
    if (!ReadFile(file_, buffer, asked, &got, nullptr)) return static_cast<long>(GetLastError());
    *read = got;
    return kErrorSuccess;
  }

  uint64_t size() const override { return size_; }

 private:
  const HANDLE file_;
  const uint64_t size_;
};

}  // namespace

PlatformResult OpenFileReader(const std::string& path, std::unique_ptr<FileReader>* reader) {
  const HANDLE file =
      CreateFileW(Widen(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (file == INVALID_HANDLE_VALUE) return static_cast<long>(GetLastError());
  LARGE_INTEGER size{};
  if (!GetFileSizeEx(file, &size)) {
    const long error = static_cast<long>(GetLastError());
    CloseHandle(file);
    return error;
  }
  *reader = std::make_unique<WinFileReader>(file, static_cast<uint64_t>(size.QuadPart));
  return kErrorSuccess;
}

}  // namespace vantrel::platform
