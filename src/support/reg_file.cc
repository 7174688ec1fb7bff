// Reading .reg files: decoding the bytes to checked UTF-8, then one pass over
// the lines. The writer is in reg_file_writer.cc.
#include "support/reg_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

#include "platform/unicode.h"

namespace vantrel {
namespace {

using platform::RegistryRoot;
using platform::RegistryValue;

constexpr std::string_view kHeader = "Windows Registry Editor Version 5.00";

struct RootName {
  std::string_view long_name;
  std::string_view short_name;
  RegistryRoot root;
};

constexpr std::array<RootName, 4> kRoots{{
    {"HKEY_CLASSES_ROOT", "HKCR", RegistryRoot::kClassesRoot},
    {"HKEY_CURRENT_USER", "HKCU", RegistryRoot::kCurrentUser},
    {"HKEY_LOCAL_MACHINE", "HKLM", RegistryRoot::kLocalMachine},
    {"HKEY_USERS", "HKU", RegistryRoot::kUsers},
}};

// A failure at a line; the parser stops at the first one.
struct ParseError {
  size_t line;
  std::string text;
};

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view TrimLeft(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view TrimRight(std::string_view text) {
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view Trim(std::string_view text) { return TrimLeft(TrimRight(text)); }

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && platform::AsciiLower(a) == platform::AsciiLower(b);
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && EqualsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

// Shows a piece of the input in a message, shortened so that a message stays
// one readable line whatever the input holds.
std::string Quote(std::string_view text) {
  constexpr size_t kMaxShown = 40;
  if (text.size() <= kMaxShown) return "\"" + std::string(text) + "\"";
  size_t cut = kMaxShown;
  while (cut > 0 && (static_cast<uint8_t>(text[cut]) & 0xC0) == 0x80) --cut;  // whole characters
  std::string shown(text.substr(0, cut));
  shown += "...";
  return "\"" + shown + "\"";
}

size_t LineOfOffset(std::string_view text, size_t offset) {
  return 1 + static_cast<size_t>(std::count(text.begin(), text.begin() + offset, '\n'));
}

template <typename Char>
size_t FirstDifference(std::basic_string_view<Char> a, std::basic_string_view<Char> b) {
  const size_t limit = std::min(a.size(), b.size());
  size_t i = 0;
  while (i < limit && a[i] == b[i]) ++i;
  return i;
}

std::u16string Utf16LeUnits(std::string_view bytes) {
  std::u16string units;
  units.reserve(bytes.size() / 2);
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    units.push_back(static_cast<char16_t>(static_cast<uint8_t>(bytes[i]) |
                                          (static_cast<uint8_t>(bytes[i + 1]) << 8)));
  }
  return units;
}

std::optional<ParseError> DecodeUtf16(std::string_view bytes, std::string* text) {
  const std::u16string units = Utf16LeUnits(bytes);
  *text = platform::Utf16ToUtf8(units);
  if (bytes.size() % 2 != 0) {
    return ParseError{LineOfOffset(*text, text->size()),
                      "the UTF-16 text ends in half a character"};
  }
  const std::u16string again = platform::Utf8ToUtf16(*text);
  if (again != units) {
    const size_t at = FirstDifference<char16_t>(units, again);
    const auto newlines = std::count(units.begin(), units.begin() + at, u'\n');
    return ParseError{1 + static_cast<size_t>(newlines), "not valid UTF-16 text"};
  }
  return std::nullopt;
}

std::optional<ParseError> CheckUtf8(std::string_view text) {
  const std::string again = platform::Utf16ToUtf8(platform::Utf8ToUtf16(text));
  if (again != text) {
    return ParseError{LineOfOffset(text, FirstDifference<char>(text, again)),
                      "not valid UTF-8 text"};
  }
  return std::nullopt;
}

// The file's text as UTF-8, whichever encoding it came in.
std::optional<ParseError> DecodeText(std::string_view bytes, std::string* text) {
  std::optional<ParseError> error;
  if (bytes.starts_with("\xFF\xFE")) {
    error = DecodeUtf16(bytes.substr(2), text);
  } else if (bytes.starts_with("\xFE\xFF")) {
    return ParseError{1, "big-endian UTF-16 text is not supported"};
  } else {
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    error = CheckUtf8(bytes);
    if (!error) text->assign(bytes);
  }
  if (error) return error;
  const size_t zero = text->find('\0');
  if (zero != std::string::npos) return ParseError{LineOfOffset(*text, zero), "zero character"};
  return std::nullopt;
}

// Lines without their ends; a CR is allowed only just before the LF.
std::optional<ParseError> SplitLines(std::string_view text, std::vector<std::string_view>* lines) {
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.find('\r') != std::string_view::npos) {
      return ParseError{lines->size() + 1, "carriage return inside a line"};
    }
    lines->push_back(line);
    start = end + 1;
  }
  return std::nullopt;
}

std::optional<RegistryRoot> FindRoot(std::string_view name) {
  for (const RootName& root : kRoots) {
    if (EqualsIgnoringCase(name, root.long_name) || EqualsIgnoringCase(name, root.short_name)) {
      return root.root;
    }
  }
  return std::nullopt;
}

std::optional<uint8_t> HexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<uint8_t>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<uint8_t>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<uint8_t>(c - 'A' + 10);
  return std::nullopt;
}

// 1 to `max_digits` hexadecimal digits and nothing else.
std::optional<uint32_t> ParseHexNumber(std::string_view text, size_t max_digits) {
  if (text.empty() || text.size() > max_digits) return std::nullopt;
  uint32_t number = 0;
  for (const char c : text) {
    const auto digit = HexDigit(c);
    if (!digit) return std::nullopt;
    number = number << 4 | *digit;
  }
  return number;
}

class Parser {
 public:
  explicit Parser(std::vector<std::string_view> lines) : lines_(std::move(lines)) {}

  std::optional<ParseError> Run(RegFile* file);

 private:
  std::optional<ParseError> ParseSectionHeader(std::string_view line);
  std::optional<ParseError> ParseValueLine(std::string_view line);
  std::optional<ParseError> ParseQuoted(std::string_view* rest, std::string* out);
  std::optional<ParseError> ParseData(std::string_view data, std::optional<RegistryValue>* value);
  std::optional<ParseError> ParseByteList(std::string_view first_piece, uint32_t type,
                                          std::optional<RegistryValue>* value);
  std::optional<ParseError> ParseBytes(std::string_view piece, bool continued,
                                       std::vector<uint8_t>* bytes);
  std::optional<ParseError> ExpectEnd(std::string_view rest, std::string_view after);
  ParseError Fail(std::string text) const { return ParseError{index_ + 1, std::move(text)}; }

  std::vector<std::string_view> lines_;
  size_t index_ = 0;  // of the line being parsed
  RegFile file_;
};

std::optional<ParseError> Parser::Run(RegFile* file) {
  if (lines_.empty() || TrimRight(lines_[0]) != kHeader) {
    return Fail("not a registry file: the first line must be \"" + std::string(kHeader) + "\"");
  }
  for (index_ = 1; index_ < lines_.size(); ++index_) {
    const std::string_view line = TrimLeft(lines_[index_]);
    std::optional<ParseError> error;
    if (line.empty() || line.front() == ';') continue;
    if (line.front() == '[') {
      error = ParseSectionHeader(TrimRight(line));
    } else {
      error = ParseValueLine(line);
    }
    if (error) return error;
  }
  *file = std::move(file_);
  return std::nullopt;
}

// "[ROOT\key\path]" or "[-ROOT\key\path]". A key name may itself hold "]",
// so the header ends at the last one on the line.
std::optional<ParseError> Parser::ParseSectionHeader(std::string_view line) {
  if (line.size() < 2 || line.back() != ']') return Fail("a key line must end with \"]\"");
  std::string_view inside = line.substr(1, line.size() - 2);
  RegFileSection section;
  if (inside.starts_with('-')) {
    section.delete_key = true;
    inside.remove_prefix(1);
  }
  const size_t slash = inside.find('\\');
  const std::string_view root_name = inside.substr(0, slash);
  const auto root = FindRoot(root_name);
  if (!root) return Fail("unknown root key " + Quote(root_name));
  section.root = *root;
  if (slash != std::string_view::npos) section.key = inside.substr(slash + 1);
  const std::string padded = "\\" + section.key + "\\";
  if (slash != std::string_view::npos && padded.find("\\\\") != std::string::npos) {
    return Fail("empty key name in " + Quote(inside));
  }
  if (section.delete_key && section.key.empty()) return Fail("a root key cannot be deleted");
  file_.sections.push_back(std::move(section));
  return std::nullopt;
}

// `"Name"=data` or `@=data`.
std::optional<ParseError> Parser::ParseValueLine(std::string_view line) {
  if (file_.sections.empty()) return Fail("value line before the first key line");
  if (file_.sections.back().delete_key) return Fail("value line under a key being deleted");
  RegFileValue entry;
  std::string_view rest = line;
  if (rest.starts_with('@')) {
    rest.remove_prefix(1);
  } else if (rest.starts_with('"')) {
    if (auto error = ParseQuoted(&rest, &entry.name)) return error;
  } else {
    return Fail("expected a quoted value name or @, found " + Quote(line));
  }
  rest = TrimLeft(rest);
  if (!rest.starts_with('=')) return Fail("expected \"=\" after the value name");
  if (auto error = ParseData(TrimLeft(rest.substr(1)), &entry.value)) return error;
  file_.sections.back().values.push_back(std::move(entry));
  return std::nullopt;
}

// Reads a quoted text at the start of `*rest`, undoing \\ and \", and leaves
// `*rest` just after the closing quote.
std::optional<ParseError> Parser::ParseQuoted(std::string_view* rest, std::string* out) {
  std::string_view text = rest->substr(1);
  out->clear();
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') {
      *rest = text.substr(i + 1);
      return std::nullopt;
    }
    if (c == '\\') {
      if (i + 1 == text.size()) break;
      const char escaped = text[++i];
      if (escaped != '\\' && escaped != '"') {
        return Fail("unknown escape \"\\" + std::string(1, escaped) + "\" in quoted text");
      }
      out->push_back(escaped);
    } else {
      out->push_back(c);
    }
  }
  return Fail("quoted text without its closing quote");
}

std::optional<ParseError> Parser::ParseData(std::string_view data,
                                            std::optional<RegistryValue>* value) {
  if (data.starts_with('-')) return ExpectEnd(data.substr(1), "\"-\"");
  if (data.starts_with('"')) {
    std::string text;
    if (auto error = ParseQuoted(&data, &text)) return error;
    *value = platform::MakeStringValue(text);
    return ExpectEnd(data, "the quoted text");
  }
  if (StartsWithIgnoringCase(data, "dword:")) {
    const std::string_view digits = TrimRight(data.substr(6));
    const auto number = ParseHexNumber(digits, 8);
    if (!number) return Fail("bad dword " + Quote(digits) + ": expected 1 to 8 hex digits");
    *value = platform::MakeDwordValue(*number);
    return std::nullopt;
  }
  if (StartsWithIgnoringCase(data, "hex:")) {
    return ParseByteList(data.substr(4), platform::kRegBinary, value);
  }
  if (StartsWithIgnoringCase(data, "hex(")) {
    const size_t close = data.find("):");
    const auto type = close == std::string_view::npos
                          ? std::nullopt
                          : ParseHexNumber(data.substr(4, close - 4), 8);
    if (!type) return Fail("bad value type in " + Quote(data) + ": expected hex(N): with N in hex");
    return ParseByteList(data.substr(close + 2), *type, value);
  }
  return Fail("unknown value data " + Quote(data));
}

// A comma-separated byte list that continues onto the next line while a piece
// ends with "\". Errors name the line of the piece at fault.
std::optional<ParseError> Parser::ParseByteList(std::string_view first_piece, uint32_t type,
                                                std::optional<RegistryValue>* value) {
  RegistryValue parsed{type, {}};
  std::string_view piece = TrimRight(first_piece);
  for (;;) {
    const bool continued = piece.ends_with('\\');
    if (continued) piece = TrimRight(piece.substr(0, piece.size() - 1));
    if (auto error = ParseBytes(piece, continued, &parsed.data)) return error;
    if (!continued) break;
    if (index_ + 1 >= lines_.size())
      return Fail("the byte list continues past the end of the file");
    piece = Trim(lines_[++index_]);
  }
  *value = std::move(parsed);
  return std::nullopt;
}

// One line's share of a byte list. Only a continued piece may end with a
// comma ("00,01,\" as regedit writes it); an empty list has no bytes at all.
std::optional<ParseError> Parser::ParseBytes(std::string_view piece, bool continued,
                                             std::vector<uint8_t>* bytes) {
  if (piece.empty()) return std::nullopt;
  size_t start = 0;
  for (;;) {
    const size_t comma = piece.find(',', start);
    const std::string_view token = Trim(piece.substr(start, comma - start));
    const bool last = comma == std::string_view::npos;
    if (!(token.empty() && last && continued && start > 0)) {
      const auto byte = ParseHexNumber(token, 2);
      if (!byte) return Fail("bad hex byte " + Quote(token));
      bytes->push_back(static_cast<uint8_t>(*byte));
    }
    if (last) return std::nullopt;
    start = comma + 1;
  }
}

std::optional<ParseError> Parser::ExpectEnd(std::string_view rest, std::string_view after) {
  rest = TrimLeft(rest);
  if (rest.empty()) return std::nullopt;
  return Fail("unexpected " + Quote(rest) + " after " + std::string(after));
}

}  // namespace

bool ParseRegFile(std::string_view bytes, RegFile* file, std::string* error) {
  std::string text;
  std::vector<std::string_view> lines;
  std::optional<ParseError> failure = DecodeText(bytes, &text);
  if (!failure) failure = SplitLines(text, &lines);
  if (!failure) failure = Parser(std::move(lines)).Run(file);
  if (!failure) return true;
  *error = "line " + std::to_string(failure->line) + ": " + failure->text;
  return false;
}

std::string_view RegFileRootName(RegistryRoot root) {
  for (const RootName& name : kRoots) {
    if (name.root == root) return name.long_name;
  }
  return "HKEY_LOCAL_MACHINE";
}

}  // namespace vantrel
