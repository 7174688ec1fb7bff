#include "driver/command_bytes.h"

#include <cstring>
#include <new>

#include "frame/error_texts.h"
#include "frame/ole_string.h"

namespace vantrel {
namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

uint8_t DigitValue(char digit) {
  const unsigned code = static_cast<unsigned char>(digit);
  // Unsigned, so that characters below '0' wrap to large values.
  if (code - '0' <= 9) return static_cast<uint8_t>(code - '0');
  return static_cast<uint8_t>((code + 9) & 0x0F);
}

// Unlocks an array's data when the copy is done, also on a throw.
class ArrayAccess {
 public:
  explicit ArrayAccess(SAFEARRAY* array) : array_(array) {
    if (FAILED(SafeArrayAccessData(array_, &data_))) frame::Throw(frame::kInvalidArgument);
  }
  ArrayAccess(const ArrayAccess&) = delete;
  ArrayAccess& operator=(const ArrayAccess&) = delete;
  ~ArrayAccess() { SafeArrayUnaccessData(array_); }
  template <class T>
  const T* data() const {
    return static_cast<const T*>(data_);
  }

 private:
  SAFEARRAY* array_;
  void* data_ = nullptr;
};

// The element count of a one-dimensional array.
size_t ElementCount(SAFEARRAY* array) {
  if (SafeArrayGetDim(array) != 1) frame::Throw(frame::kInvalidArgument);
  LONG lower = 0;
  LONG upper = -1;
  if (FAILED(SafeArrayGetLBound(array, 1, &lower)) ||
      FAILED(SafeArrayGetUBound(array, 1, &upper))) {
    frame::Throw(frame::kInvalidArgument);
  }
  return upper < lower ? 0 : static_cast<size_t>(int64_t{upper} - lower + 1);
}

ByteVector ByteArrayToBytes(SAFEARRAY* array) {
  if (array == nullptr) return {};
  const size_t count = ElementCount(array);
  if (count == 0) return {};
  const ArrayAccess access(array);
  const uint8_t* data = access.data<uint8_t>();
  return ByteVector(data, data + count);
}

uint8_t VariantToByte(const VARIANT& element) {
  VARIANT converted;
  VariantInit(&converted);
  // Windows declares the source non-const; it is only read.
  if (FAILED(VariantChangeType(&converted, const_cast<VARIANT*>(&element), 0, VT_UI1))) {
    frame::Throw(frame::kInvalidArgument);
  }
  return V_UI1(&converted);  // a byte holds nothing to clear
}

ByteVector VariantArrayToBytes(SAFEARRAY* array) {
  if (array == nullptr) return {};
  const size_t count = ElementCount(array);
  if (count == 0) return {};
  const ArrayAccess access(array);
  const VARIANT* elements = access.data<VARIANT>();
  ByteVector bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = VariantToByte(elements[i]);
  return bytes;
}

}  // namespace

std::string BytesToHexadecimal(std::span<const uint8_t> bytes) {
  std::string digits;
  digits.reserve(bytes.size() * 2);
  for (const uint8_t byte : bytes) {
    digits.push_back(kDigits[byte >> 4]);
    digits.push_back(kDigits[byte & 0x0F]);
  }
  return digits;
}

ByteVector HexadecimalToBytes(std::string_view digits) {
  ByteVector bytes(digits.size() / 2);
  for (size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<uint8_t>(DigitValue(digits[2 * i]) << 4 | DigitValue(digits[2 * i + 1]));
  }
  return bytes;
}

BSTR BytesToTextBstr(std::span<const uint8_t> bytes) {
  return frame::AllocBstr(
      std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

ByteVector TextBstrToBytes(BSTR text) {
  const std::string narrow = frame::BstrToUtf8(text);
  return ByteVector(narrow.begin(), narrow.end());
}

BSTR BytesToHexadecimalBstr(std::span<const uint8_t> bytes) {
  return frame::AllocBstr(BytesToHexadecimal(bytes));
}

ByteVector HexadecimalBstrToBytes(BSTR digits) {
  return HexadecimalToBytes(frame::BstrToUtf8(digits));
}

void BytesToVariant(std::span<const uint8_t> bytes, VARIANT* out) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
  if (array == nullptr) throw std::bad_alloc();
  if (!bytes.empty()) {
    void* data = nullptr;
    if (FAILED(SafeArrayAccessData(array, &data))) {
      SafeArrayDestroy(array);
      throw std::bad_alloc();
    }
    std::memcpy(data, bytes.data(), bytes.size());
    SafeArrayUnaccessData(array);
  }
  VariantInit(out);
  V_VT(out) = VT_ARRAY | VT_UI1;
  V_ARRAY(out) = array;
}

ByteVector VariantToBytes(const VARIANT& value) {
  switch (V_VT(&value)) {
    case VT_ARRAY | VT_UI1:
      return ByteArrayToBytes(V_ARRAY(&value));
    case VT_BYREF | VT_ARRAY | VT_UI1:
      return V_ARRAYREF(&value) ? ByteArrayToBytes(*V_ARRAYREF(&value)) : ByteVector{};
    case VT_ARRAY | VT_VARIANT:
      return VariantArrayToBytes(V_ARRAY(&value));
    case VT_BYREF | VT_ARRAY | VT_VARIANT:
      return V_ARRAYREF(&value) ? VariantArrayToBytes(*V_ARRAYREF(&value)) : ByteVector{};
    case VT_BYREF | VT_VARIANT:
      if (V_VARIANTREF(&value) != nullptr && !V_ISBYREF(V_VARIANTREF(&value))) {
        return VariantToBytes(*V_VARIANTREF(&value));
      }
      break;
    default:
      break;
  }
  frame::Throw(frame::kInvalidArgument);
}

ByteVector TakeVariantBytes(VARIANT* value) {
  try {
    ByteVector bytes = VariantToBytes(*value);
    VariantClear(value);
    return bytes;
  } catch (...) {
    VariantClear(value);
    throw;
  }
}

}  // namespace vantrel
