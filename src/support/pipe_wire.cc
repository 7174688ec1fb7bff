#include "support/pipe_wire.h"

#include "platform/unicode.h"

namespace vantrel {

namespace {

struct Signature {
  std::string_view entry;
  std::string_view arguments;
};

constexpr Signature kSignatures[] = {
    {"Kesto_Printer_Open", "s"},        {"Kesto_Printer_Close", "n"},
    {"Kesto_Settings_Save", "n"},       {"Kesto_Settings_Export", "nsn"},
    {"Kesto_Settings_Import", "nsn"},   {"Kesto_Settings_Reset", "nn"},
    {"Kesto_Printer_Action", "nn"},     {"Kesto_Printer_ActionUI", "nnn"},
    {"Kesto_Printer_ActionFlag", "nn"},
};

bool ReadAll(PipeByteStream& stream, void* bytes, size_t size) {
  size_t read = 0;
  return stream.Read(bytes, size, &read) == 0 && read == size;
}

// The units of a string item whose count was read; false when the stream
// ends inside them.
bool ReadUnits(PipeByteStream& stream, const unsigned char count[2], std::u16string* text) {
  const size_t units = count[0] | (count[1] << 8);
  std::string bytes(units * 2, '\0');
  if (units > 0 && !ReadAll(stream, bytes.data(), bytes.size())) return false;
  text->resize(units);
  for (size_t i = 0; i < units; ++i) {
    (*text)[i] = static_cast<char16_t>(static_cast<unsigned char>(bytes[2 * i]) |
                                       (static_cast<unsigned char>(bytes[2 * i + 1]) << 8));
  }
  return true;
}

bool ReadText(PipeByteStream& stream, std::u16string* text) {
  unsigned char count[2];
  return ReadAll(stream, count, 2) && ReadUnits(stream, count, text);
}

}  // namespace

std::string EncodeCountOf(std::u16string_view text) {
  const auto count = static_cast<uint16_t>(text.size() & 0xFFFF);
  return std::string{static_cast<char>(count & 0xFF), static_cast<char>(count >> 8)};
}

std::string EncodeUnitsOf(std::u16string_view text) {
  std::string bytes;
  bytes.reserve(text.size() * 2);
  for (char16_t unit : text) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return bytes;
}

std::string EncodeInteger(uint64_t value) {
  std::string bytes(8, '\0');
  for (int i = 0; i < 8; ++i) bytes[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
  return bytes;
}

uint64_t DecodeInteger(const unsigned char bytes[8]) {
  uint64_t value = 0;
  for (int i = 0; i < 8; ++i) value |= static_cast<uint64_t>(bytes[i]) << (8 * i);
  return value;
}

std::string_view PipeCallSignature(std::string_view entry) {
  for (const Signature& signature : kSignatures) {
    if (signature.entry == entry) return signature.arguments;
  }
  return {};
}

PipeReadResult ReadPipeCall(PipeByteStream& stream, PipeCall* call) {
  unsigned char first[2];
  size_t read = 0;
  if (stream.Read(first, 2, &read) != 0 || read == 0) return PipeReadResult::kClosed;
  if (read != 2) return PipeReadResult::kMalformed;
  std::u16string name;
  if (!ReadUnits(stream, first, &name)) return PipeReadResult::kMalformed;
  *call = PipeCall{platform::Utf16ToUtf8(name), {}, {}};
  const std::string_view signature = PipeCallSignature(call->entry);
  if (signature.empty()) return PipeReadResult::kMalformed;
  for (char kind : signature) {
    if (kind == 's') {
      std::u16string text;
      if (!ReadText(stream, &text)) return PipeReadResult::kMalformed;
      call->texts.push_back(std::move(text));
    } else {
      unsigned char bytes[8];
      if (!ReadAll(stream, bytes, 8)) return PipeReadResult::kMalformed;
      call->numbers.push_back(DecodeInteger(bytes));
    }
  }
  return PipeReadResult::kCall;
}

}  // namespace vantrel
