#include "platform/unicode.h"

#include <cstdint>

namespace vantrel::platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// Decodes one code point at `text[*pos]` and advances past it. A malformed or
// overlong sequence, a surrogate or a value above U+10FFFF yields U+FFFD and
// consumes only the bytes that could belong to it, so decoding resynchronises
// on the next lead byte.
char32_t DecodeUtf8(std::string_view text, size_t* pos) {
  const auto lead = static_cast<unsigned char>(text[*pos]);
  ++*pos;
  if (lead < 0x80) return lead;
  int extra;
  char32_t code;
  char32_t minimum;
  if ((lead & 0xE0) == 0xC0) {
    extra = 1, code = lead & 0x1F, minimum = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    extra = 2, code = lead & 0x0F, minimum = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    extra = 3, code = lead & 0x07, minimum = 0x10000;
  } else {
    return kReplacement;
  }
  for (int i = 0; i < extra; ++i) {
    if (*pos >= text.size() || !IsContinuation(static_cast<unsigned char>(text[*pos]))) {
      return kReplacement;
    }
    code = (code << 6) | (static_cast<unsigned char>(text[*pos]) & 0x3F);
    ++*pos;
  }
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < minimum || code > 0x10FFFF || surrogate) return kReplacement;
  return code;
}

void AppendUtf8(char32_t code, std::string* out) {
  if (code < 0x80) {
    out->push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (code >> 6)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else if (code < 0x10000) {
    out->push_back(static_cast<char>(0xE0 | (code >> 12)));
    out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else {
    out->push_back(static_cast<char>(0xF0 | (code >> 18)));
    out->push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  }
}

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace

std::u16string Utf8ToUtf16(std::string_view utf8) {
  std::u16string out;
  out.reserve(utf8.size());
  size_t pos = 0;
  while (pos < utf8.size()) {
    const char32_t code = DecodeUtf8(utf8, &pos);
    if (code < 0x10000) {
      out.push_back(static_cast<char16_t>(code));
    } else {
      const char32_t offset = code - 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (offset >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (offset & 0x3FF)));
    }
  }
  return out;
}

std::string Utf16ToUtf8(std::u16string_view utf16) {
  std::string out;
  out.reserve(utf16.size());
  for (size_t i = 0; i < utf16.size(); ++i) {
    const char16_t unit = utf16[i];
    if (IsHighSurrogate(unit) && i + 1 < utf16.size() && IsLowSurrogate(utf16[i + 1])) {
      const char32_t code = 0x10000 + ((char32_t{unit} - 0xD800) << 10) + (utf16[i + 1] - 0xDC00);
      AppendUtf8(code, &out);
      ++i;
    } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
      AppendUtf8(kReplacement, &out);  // an unpaired half cannot be written as UTF-8
    } else {
      AppendUtf8(unit, &out);
    }
  }
  return out;
}

std::string AsciiLower(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

}  // namespace vantrel::platform
