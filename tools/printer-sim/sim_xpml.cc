#include "printer-sim/sim_xpml.h"

#include <zlib.h>

#include <charconv>
#include <cstring>
#include <optional>
#include <utility>

namespace vantrel::sim {

namespace {

// A container may claim at most this much, and no more than deflate can
// expand its stream to (about 1032 to 1); more is a bad request, not an
// allocation.
constexpr uint32_t kMaxDecodedBytes = 64u * 1024 * 1024;
constexpr uint64_t kMaxInflateRatio = 1032;

struct Tag {
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes;

  std::optional<std::string> Attribute(std::string_view wanted) const {
    for (const auto& [name, value] : attributes) {
      if (name == wanted) return value;
    }
    return std::nullopt;
  }
};

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string Unescape(std::string_view text) {
  static constexpr std::pair<std::string_view, char> kEntities[] = {
      {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}};
  std::string out;
  for (size_t i = 0; i < text.size();) {
    bool replaced = false;
    for (const auto& [entity, c] : kEntities) {
      if (text.substr(i, entity.size()) == entity) {
        out += c;
        i += entity.size();
        replaced = true;
        break;
      }
    }
    if (!replaced) out += text[i++];
  }
  return out;
}

// Reads the tag that starts at text[pos] ('<'); `*end` is just past its '>'.
// Text that is not an attribute (what an early-ended value leaves) is
// skipped. False without '<' or '>'.
bool ReadTag(std::string_view text, size_t pos, Tag* tag, size_t* end) {
  if (pos >= text.size() || text[pos] != '<') return false;
  size_t i = pos + 1;
  while (i < text.size() && !IsBlank(text[i]) && text[i] != '/' && text[i] != '>') {
    tag->name += text[i++];
  }
  if (tag->name.empty()) return false;
  while (i < text.size()) {
    const char c = text[i];
    if (c == '>') {
      *end = i + 1;
      return true;
    }
    const size_t name_start = i;
    while (i < text.size() && !IsBlank(text[i]) && text[i] != '=' && text[i] != '>' &&
           text[i] != '/' && text[i] != '\'' && text[i] != '"') {
      ++i;
    }
    const bool has_value = i > name_start && i + 1 < text.size() && text[i] == '=' &&
                           (text[i + 1] == '\'' || text[i + 1] == '"');
    if (!has_value) {
      if (i == name_start) ++i;  // a blank, '/', a stray quote or '='
      continue;
    }
    const std::string_view name = text.substr(name_start, i - name_start);
    const char quote = text[i + 1];
    const size_t close = text.find(quote, i + 2);
    if (close == std::string_view::npos) return false;
    tag->attributes.emplace_back(std::string(name), Unescape(text.substr(i + 2, close - i - 2)));
    i = close + 1;
  }
  return false;
}

size_t SkipSeparators(std::string_view text, size_t pos) {
  while (pos < text.size() && (IsBlank(text[pos]) || text[pos] == ';')) ++pos;
  return pos;
}

// Without the terminators senders append: zero bytes, "&#00;", blanks.
std::string_view TrimEnd(std::string_view text) {
  for (bool changed = true; changed;) {
    changed = false;
    while (!text.empty() && (text.back() == '\0' || IsBlank(text.back()))) {
      text.remove_suffix(1);
      changed = true;
    }
    for (std::string_view end : {"&#00;", "&#0;"}) {
      if (text.size() >= end.size() && text.substr(text.size() - end.size()) == end) {
        text.remove_suffix(end.size());
        changed = true;
      }
    }
  }
  return text;
}

std::optional<int32_t> ParseNumber(const std::optional<std::string>& text) {
  if (!text || text->empty()) return std::nullopt;
  int32_t value = 0;
  const char* last = text->data() + text->size();
  const auto [end, error] = std::from_chars(text->data(), last, value);
  if (error != std::errc() || end != last) return std::nullopt;
  return value;
}

XpmlRequest Unknown(std::string error) {
  XpmlRequest request;
  request.error = std::move(error);
  return request;
}

XpmlRequest ParseStates(std::string_view text) {
  XpmlRequest request;
  request.kind = XpmlKind::kState;
  for (size_t pos = SkipSeparators(text, 0); pos < text.size(); pos = SkipSeparators(text, pos)) {
    Tag tag;
    if (!ReadTag(text, pos, &tag, &pos) || tag.name != "state") {
      return Unknown("a state list holds only <state> elements");
    }
    const auto name = tag.Attribute("name");
    if (!name) return Unknown("a <state> element without a name");
    if (tag.Attribute("action").value_or("get") != "get") {
      return Unknown("only action='get' is served for state '" + *name + "'");
    }
    request.state_names.push_back(*name);
  }
  return request;
}

// The <encode> element's text, undone in the order its "in" list names.
bool DecodeData(std::string_view encodings, std::string_view text, std::string* data,
                std::string* error) {
  std::string bytes(text);
  while (!encodings.empty()) {
    const size_t split = encodings.find(';');
    const std::string_view step = encodings.substr(0, split);
    encodings = split == std::string_view::npos ? "" : encodings.substr(split + 1);
    if (step == "base64") {
      std::string decoded;
      if (!DecodeBase64(bytes, &decoded)) {
        *error = "bad base64 in <encode>";
        return false;
      }
      bytes.swap(decoded);
    } else if (step == "lz77") {
      // Senders fall back to the plain bytes when compression fails.
      if (!LooksLikeContainer(bytes)) continue;
      std::string decoded;
      if (!DecodeContainer(bytes, &decoded)) {
        *error = "bad lz77 container";
        return false;
      }
      bytes.swap(decoded);
    } else {
      *error = "unknown encoding '" + std::string(step) + "'";
      return false;
    }
  }
  *data = std::move(bytes);
  return true;
}

XpmlRequest ParseQuery(std::string_view text, const Tag& query, size_t pos) {
  XpmlRequest request;
  request.kind = XpmlKind::kQuery;
  const auto id = query.Attribute("id");
  if (!id) return Unknown("a <query> without an id");
  request.name = *id;
  Tag inner;
  if (!ReadTag(text, SkipSeparators(text, pos), &inner, &pos) || inner.name != "request") {
    return Unknown("a <query> without its <request>");
  }
  request.response_pattern = inner.Attribute("responsePattern").value_or("");
  request.write_only =
      inner.Attribute("parameters").value_or("").find("read=false") != std::string::npos;
  Tag encode;
  if (!ReadTag(text, SkipSeparators(text, pos), &encode, &pos) || encode.name != "encode") {
    return Unknown("a query <request> without <encode>");
  }
  const size_t close = text.find("</encode>", pos);
  if (close == std::string_view::npos) return Unknown("<encode> is not closed");
  std::string error;
  if (!DecodeData(encode.Attribute("in").value_or(""), text.substr(pos, close - pos), &request.data,
                  &error)) {
    return Unknown(error);
  }
  return request;
}

// One element and nothing after it but separators.
XpmlRequest ParseSingle(std::string_view text, const Tag& tag, size_t end) {
  if (SkipSeparators(text, end) != text.size()) {
    return Unknown("text after the <" + tag.name + "> element");
  }
  XpmlRequest request;
  if (tag.name == "job") {
    const auto id = ParseNumber(tag.Attribute("id"));
    if (!id) return Unknown("a <job> without a numeric id");
    request.kind = XpmlKind::kJob;
    request.number = *id;
  } else if (tag.name == "port") {
    request.name = tag.Attribute("name").value_or("");
    if (request.name != "bidirectional" && request.name != "disconnected") {
      return Unknown("unknown port state '" + request.name + "'");
    }
    request.kind = XpmlKind::kPort;
  } else if (tag.name == "request") {
    const auto query = tag.Attribute("query");
    const std::string get = tag.Attribute("get").value_or("");
    if (!query) return Unknown("a <request> without a query id");
    if (get != "status" && get != "response") return Unknown("unknown get='" + get + "'");
    request.kind = get == "status" ? XpmlKind::kQueryStatus : XpmlKind::kQueryResponse;
    request.name = *query;
  } else if (tag.name == "action") {
    const auto code = ParseNumber(tag.Attribute("code"));
    if (!code) return Unknown("an <action> without a numeric code");
    request.kind = XpmlKind::kAction;
    request.number = *code;
  } else {
    return Unknown("unknown element <" + tag.name + ">");
  }
  return request;
}

}  // namespace

XpmlRequest ParseXpml(std::string_view text) {
  text = TrimEnd(text);
  Tag first;
  size_t end = 0;
  if (!ReadTag(text, SkipSeparators(text, 0), &first, &end)) {
    return Unknown("not an XPML element");
  }
  if (first.name == "state") return ParseStates(text);
  if (first.name == "query") return ParseQuery(text, first, end);
  return ParseSingle(text, first, end);
}

bool DecodeBase64(std::string_view text, std::string* out) {
  static constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string decoded;
  uint32_t group = 0;
  int bits = 0;
  size_t symbols = 0;
  size_t padding = 0;
  for (char c : text) {
    if (IsBlank(c)) continue;
    if (c == '=') {
      ++padding;
      ++symbols;
      continue;
    }
    const size_t value = kAlphabet.find(c);
    if (value == std::string_view::npos || padding > 0) return false;
    ++symbols;
    group = (group << 6) | static_cast<uint32_t>(value);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      decoded += static_cast<char>((group >> bits) & 0xFF);
    }
  }
  if (symbols % 4 != 0 || padding > 2) return false;
  *out = std::move(decoded);
  return true;
}

bool LooksLikeContainer(std::string_view bytes) {
  return bytes.size() >= 12 && bytes.substr(0, 4) == "ZLIB";
}

bool DecodeContainer(std::string_view container, std::string* out) {
  if (!LooksLikeContainer(container)) return false;
  auto read32 = [&](size_t at) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) {
      value = (value << 8) | static_cast<unsigned char>(container[at + i]);
    }
    return value;
  };
  const uint32_t length = read32(4);
  const uint32_t compressed = read32(8);
  if (compressed != container.size() - 12 || length > kMaxDecodedBytes ||
      length > kMaxInflateRatio * compressed + 64) {
    return false;
  }
  std::string decoded(length, '\0');
  uLongf produced = length;
  uLong consumed = compressed;
  const int result = uncompress2(reinterpret_cast<Bytef*>(decoded.data()), &produced,
                                 reinterpret_cast<const Bytef*>(container.data() + 12), &consumed);
  if (result != Z_OK || produced != length || consumed != compressed) return false;
  *out = std::move(decoded);
  return true;
}

}  // namespace vantrel::sim
