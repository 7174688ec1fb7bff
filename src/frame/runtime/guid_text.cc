// GUIDs to and from their registry text "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}".
#include <cstring>

#include "automation_runtime.h"

namespace {

constexpr int kTextLength = 38;  // without the NUL

// The hex groups of the text. Data1..Data3 are numbers stored little-endian
// and written most significant byte first; Data4 is written in memory order.
struct Field {
  int offset;     // of the group's first digit in the text
  int byte;       // of the group's first byte in the GUID's memory
  int count;      // bytes in the group
  bool reversed;  // written from the last byte to the first
};
constexpr Field kFields[] = {
    {1, 0, 4, true}, {10, 4, 2, true}, {15, 6, 2, true}, {20, 8, 2, false}, {25, 10, 6, false},
};
constexpr int kDashes[] = {9, 14, 19, 24};

constexpr char16_t kHexDigits[] = u"0123456789ABCDEF";

int HexValue(OLECHAR c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  return -1;
}

uint8_t ByteAt(const Field& field, int i, const uint8_t* bytes) {
  return bytes[field.byte + (field.reversed ? field.count - 1 - i : i)];
}

void Format(const GUID& guid, OLECHAR* text) {
  uint8_t bytes[sizeof(GUID)];
  std::memcpy(bytes, &guid, sizeof bytes);
  text[0] = u'{';
  for (int dash : kDashes) text[dash] = u'-';
  for (const Field& field : kFields) {
    for (int i = 0; i < field.count; ++i) {
      const uint8_t value = ByteAt(field, i, bytes);
      text[field.offset + 2 * i] = kHexDigits[value >> 4];
      text[field.offset + 2 * i + 1] = kHexDigits[value & 0xF];
    }
  }
  text[kTextLength - 1] = u'}';
  text[kTextLength] = 0;
}

// Reads exactly the braced form; false for anything else.
bool Parse(const OLECHAR* text, GUID* guid) {
  for (int i = 0; i < kTextLength; ++i) {
    if (text[i] == 0) return false;
  }
  if (text[0] != u'{' || text[kTextLength - 1] != u'}' || text[kTextLength] != 0) return false;
  for (int dash : kDashes) {
    if (text[dash] != u'-') return false;
  }
  uint8_t bytes[sizeof(GUID)];
  for (const Field& field : kFields) {
    for (int i = 0; i < field.count; ++i) {
      const int high = HexValue(text[field.offset + 2 * i]);
      const int low = HexValue(text[field.offset + 2 * i + 1]);
      if (high < 0 || low < 0) return false;
      bytes[field.byte + (field.reversed ? field.count - 1 - i : i)] =
          static_cast<uint8_t>(high << 4 | low);
    }
  }
  std::memcpy(guid, bytes, sizeof bytes);
  return true;
}

}  // namespace

extern "C" {

int StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax) {
  if (lpsz == nullptr || cchMax < kTextLength + 1) return 0;
  Format(rguid, lpsz);
  return kTextLength + 1;
}

HRESULT StringFromCLSID(REFCLSID rclsid, LPOLESTR* lplpsz) {
  if (lplpsz == nullptr) return E_INVALIDARG;
  *lplpsz = static_cast<LPOLESTR>(CoTaskMemAlloc((kTextLength + 1) * sizeof(OLECHAR)));
  if (*lplpsz == nullptr) return E_OUTOFMEMORY;
  Format(rclsid, *lplpsz);
  return S_OK;
}

HRESULT CLSIDFromString(LPCOLESTR lpsz, LPCLSID pclsid) {
  if (pclsid == nullptr) return E_INVALIDARG;
  if (lpsz == nullptr) {
    *pclsid = CLSID_NULL;
    return S_OK;
  }
  if (!Parse(lpsz, pclsid)) {
    *pclsid = CLSID_NULL;
    return CO_E_CLASSSTRING;
  }
  return S_OK;
}

HRESULT IIDFromString(LPCOLESTR lpsz, LPIID lpiid) {
  if (lpiid == nullptr) return E_INVALIDARG;
  if (lpsz == nullptr) {
    *lpiid = IID_NULL;
    return S_OK;
  }
  return Parse(lpsz, lpiid) ? S_OK : E_INVALIDARG;
}

}  // extern "C"
