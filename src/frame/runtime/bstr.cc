// BSTR allocation. A string's block is [4 spare bytes][byte length: 4][text]
// [two NUL bytes]; the spare bytes keep the text 8-byte aligned, as the
// Windows x64 allocator does, and let the block start where malloc put it.
#include <cstdlib>
#include <cstring>
#include <limits>

#include "automation_runtime.h"

namespace {

constexpr size_t kHeaderBytes = 8;
constexpr size_t kTerminatorBytes = sizeof(OLECHAR);
// Odd byte lengths are allowed; one spare byte keeps the OLECHAR NUL whole.
constexpr size_t kSlackBytes = kHeaderBytes + kTerminatorBytes + 1;
// The length prefix is 32 bits and SysStringLen must stay within a UINT.
constexpr size_t kMaxBytes = std::numeric_limits<uint32_t>::max() - kSlackBytes;

char* BlockOf(BSTR text) { return reinterpret_cast<char*>(text) - kHeaderBytes; }

uint32_t ByteLength(BSTR text) {
  uint32_t bytes;
  std::memcpy(&bytes, reinterpret_cast<char*>(text) - sizeof(uint32_t), sizeof bytes);
  return bytes;
}

// A new string of `bytes` bytes copied from `source` (zeros when null).
BSTR Allocate(const void* source, size_t bytes) {
  if (bytes > kMaxBytes) return nullptr;
  char* block = static_cast<char*>(std::malloc(bytes + kSlackBytes));
  if (block == nullptr) return nullptr;
  const uint32_t prefix = static_cast<uint32_t>(bytes);
  std::memset(block, 0, kHeaderBytes);
  std::memcpy(block + kHeaderBytes - sizeof prefix, &prefix, sizeof prefix);
  char* text = block + kHeaderBytes;
  if (source != nullptr) {
    std::memcpy(text, source, bytes);
  } else {
    std::memset(text, 0, bytes);
  }
  std::memset(text + bytes, 0, kTerminatorBytes + 1);
  return reinterpret_cast<BSTR>(text);
}

size_t TextLength(const OLECHAR* text) {
  size_t length = 0;
  while (text[length] != 0) ++length;
  return length;
}

// Allocates the new string before freeing the old, since `source` may point
// into the old one.
INT Replace(BSTR* target, const OLECHAR* source, size_t characters) {
  if (target == nullptr) return FALSE;
  if (characters > kMaxBytes / sizeof(OLECHAR)) return FALSE;
  BSTR replacement = Allocate(source, characters * sizeof(OLECHAR));
  if (replacement == nullptr) return FALSE;
  SysFreeString(*target);
  *target = replacement;
  return TRUE;
}

}  // namespace

extern "C" {

BSTR SysAllocString(const OLECHAR* psz) {
  if (psz == nullptr) return nullptr;
  return Allocate(psz, TextLength(psz) * sizeof(OLECHAR));
}

BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui) {
  if (ui > kMaxBytes / sizeof(OLECHAR)) return nullptr;
  return Allocate(strIn, size_t{ui} * sizeof(OLECHAR));
}

BSTR SysAllocStringByteLen(LPCSTR psz, UINT len) { return Allocate(psz, len); }

INT SysReAllocString(BSTR* pbstr, const OLECHAR* psz) {
  if (psz == nullptr) {
    if (pbstr == nullptr) return FALSE;
    SysFreeString(*pbstr);
    *pbstr = nullptr;
    return TRUE;
  }
  return Replace(pbstr, psz, TextLength(psz));
}

INT SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, UINT len) {
  return Replace(pbstr, psz, len);
}

void SysFreeString(BSTR bstrString) {
  if (bstrString != nullptr) std::free(BlockOf(bstrString));
}

UINT SysStringLen(BSTR pbstr) { return pbstr == nullptr ? 0 : ByteLength(pbstr) / sizeof(OLECHAR); }

UINT SysStringByteLen(BSTR bstr) { return bstr == nullptr ? 0 : ByteLength(bstr); }

}  // extern "C"
