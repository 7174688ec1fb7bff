#include "support/registry_path.h"

#include <array>

namespace vantrel {
namespace {

constexpr std::string_view kDriversBranch = "SOFTWARE/Marlock Scientific/Drivers/@";

struct Escape {
  char literal;
  std::string_view encoded;
};
constexpr std::array<Escape, 3> kEscapes{{{'%', "%25"}, {'/', "%2F"}, {':', "%3A"}}};

std::string AsciiUpper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return upper;
}

// The named part of a path: the text before the first ":" that follows the
// first character. Empty when there is none.
std::string_view LeadingName(std::string_view escaped) {
  const size_t colon = escaped.find(':', 1);
  return colon == std::string_view::npos ? std::string_view() : escaped.substr(0, colon);
}

// `base` followed by `rest` as further components. A base that is only a root
// ("2:") or an empty rest needs no separator.
std::string JoinComponents(std::string_view base, std::string_view rest) {
  std::string joined(base);
  if (!rest.empty() && !base.empty() && base.back() != ':') joined += '/';
  joined += rest;
  return joined;
}

// "%25", "%2F", "%3A" back to "%", "/", ":" in one pass, so that a decoded
// "%" never starts another escape.
std::string Decode(std::string_view escaped) {
  std::string plain;
  plain.reserve(escaped.size());
  for (size_t i = 0; i < escaped.size(); ++i) {
    bool decoded = false;
    for (const Escape& escape : kEscapes) {
      if (escaped.substr(i, 3) == escape.encoded) {
        plain += escape.literal;
        i += 2;
        decoded = true;
        break;
      }
    }
    if (!decoded) plain += escaped[i];
  }
  return plain;
}

// A key path in "/" form as the store's "\" form, escapes undone.
std::string KeyFromComponents(std::string_view components) {
  std::string key;
  size_t start = 0;
  for (;;) {
    const size_t slash = components.find('/', start);
    key += Decode(components.substr(start, slash - start));
    if (slash == std::string_view::npos) return key;
    key += '\\';
    start = slash + 1;
  }
}

const Escape* EscapeFor(char literal) {
  for (const Escape& escape : kEscapes)
    if (escape.literal == literal) return &escape;
  return nullptr;
}

bool RootFromDigit(char digit, platform::RegistryRoot* root) {
  switch (digit) {
    case '0':
      *root = platform::RegistryRoot::kClassesRoot;
      return true;
    case '1':
      *root = platform::RegistryRoot::kCurrentUser;
      return true;
    case '2':
      *root = platform::RegistryRoot::kLocalMachine;
      return true;
    case '3':
      *root = platform::RegistryRoot::kUsers;
      return true;
    default:
      return false;
  }
}

}  // namespace

std::string EscapeRegistryName(std::string_view name) {
  std::string escaped;
  escaped.reserve(name.size());
  for (char c : name) {
    escaped += c;
    if (c == '%' || c == '/' || c == ':') escaped += c;
  }
  return escaped;
}

namespace registry_path {

const std::vector<std::pair<std::string, std::string>>& NamedKeys() {
  static const std::vector<std::pair<std::string, std::string>> table{
      {"CLASSES_ROOT", "0:"},
      {"CURRENT_USER", "1:"},
      {"USER", "1:SOFTWARE/Marlock Scientific/Drivers"},
      {"USERSETTINGS", "1:SOFTWARE/Marlock Scientific/Drivers/Printers/[PRINTER]/Settings"},
      {"USERSTOCK", "1:SOFTWARE/Marlock Scientific/Drivers/Paper Sizes/[PRINTER]"},
      {"USERPAPERSIZES",
       "1:SOFTWARE/Marlock Scientific/Drivers/Printers/[PRINTER]/PrinterDriverData/Paper Sizes"},
      {"LOCAL_MACHINE", "2:"},
      {"CONTROL", "2:SYSTEM/CurrentControlSet/Control"},
      {"PRINT", "2:SYSTEM/CurrentControlSet/Control/Print"},
      {"MONITOR", "2:SYSTEM/CurrentControlSet/Control/Print/Monitors/Marlock Network Monitor"},
      {"PNPDATA", "2:SYSTEM/CurrentControlSet/Control/Print/Printers/[PRINTER]/PnPData"},
      {"DATA", "2:SYSTEM/CurrentControlSet/Control/Print/Printers/[PRINTER]/PrinterDriverData"},
      {"CACHE",
       "2:SYSTEM/CurrentControlSet/Control/Print/Printers/[PRINTER]/PrinterDriverData/Cache"},
      {"DEBUG",
       "2:SYSTEM/CurrentControlSet/Control/Print/Printers/[PRINTER]/PrinterDriverData/"
       "Development"},
      {"FONTS",
       "2:SYSTEM/CurrentControlSet/Control/Print/Printers/[PRINTER]/PrinterDriverData/"
       "Downloaded Fonts"},
      {"MODEL",
       "2:SYSTEM/CurrentControlSet/Control/Print/Printers/[PRINTER]/PrinterDriverData/Model"},
      {"PAPERSIZES",
       "2:SYSTEM/CurrentControlSet/Control/Print/Printers/[PRINTER]/PrinterDriverData/"
       "Paper Sizes"},
      {"PRESETS",
       "2:SYSTEM/CurrentControlSet/Control/Print/Printers/[PRINTER]/PrinterDriverData/Presets"},
      {"SECURITY",
       "2:SYSTEM/CurrentControlSet/Control/Print/Printers/[PRINTER]/PrinterDriverData/Security"},
      {"SETTINGS",
       "2:SYSTEM/CurrentControlSet/Control/Print/Printers/[PRINTER]/PrinterDriverData/Settings"},
      {"ENUM", "2:SYSTEM/CurrentControlSet/Enum"},
      {"LOCAL", "2:SOFTWARE/Marlock Scientific/Drivers"},
      {"CRASHDUMP", "2:SOFTWARE/Marlock Scientific/Drivers/Debug/CrashDump"},
      {"STOCK", "2:SOFTWARE/Marlock Scientific/Drivers/Paper Sizes"},
      {"GLOBAL", "2:SOFTWARE/Marlock Scientific/Drivers/GlobalSettings"},
      {"NETWORK", "2:SOFTWARE/Marlock Scientific/Drivers/Network/@[SERVER]"},
      {"PARAMETERSET", "2:SOFTWARE/Marlock Scientific/Drivers/Parameter Sets"},
      {"USERS", "3:"},
  };
  return table;
}

std::string EscapePath(std::string_view path) {
  std::string escaped;
  escaped.reserve(path.size() + 8);
  for (size_t i = 0; i < path.size(); ++i) {
    const char c = path[i];
    if (c == '\\') {
      escaped += '/';
      continue;
    }
    const Escape* escape = EscapeFor(c);
    if (escape != nullptr && i + 1 < path.size() && path[i + 1] == c) {
      escaped += escape->encoded;
      ++i;
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string EncodeComponent(std::string_view text) {
  std::string encoded;
  encoded.reserve(text.size());
  for (char c : text) {
    const Escape* escape = EscapeFor(c);
    if (escape != nullptr)
      encoded += escape->encoded;
    else
      encoded += c;
  }
  return encoded;
}

std::string ExpandNamedKey(std::string_view escaped) {
  const std::string_view name = LeadingName(escaped);
  if (name.empty()) return std::string(escaped);
  const std::string upper = AsciiUpper(name);
  for (const auto& [known, expansion] : NamedKeys()) {
    if (known == upper) return JoinComponents(expansion, escaped.substr(name.size() + 1));
  }
  return std::string(escaped);
}

std::string FillPlaceholders(std::string_view escaped, const RegistryPlaceholders& values) {
  const std::array<std::pair<std::string_view, const std::string*>, 4> placeholders{{
      {"[PRINTER]", &values.printer},
      {"[SERVER]", &values.server},
      {"[PORT]", &values.port},
      {"[OEM]", &values.oem},
  }};
  std::string filled;
  size_t start = 0;
  for (size_t open = escaped.find('['); open != std::string_view::npos;
       open = escaped.find('[', start)) {
    filled += escaped.substr(start, open - start);
    start = open + 1;
    std::string_view replacement = "[";
    std::string encoded;
    for (const auto& [text, value] : placeholders) {
      if (escaped.substr(open, text.size()) == text) {
        encoded = EncodeComponent(*value);
        replacement = encoded;
        start = open + text.size();
        break;
      }
    }
    filled += replacement;
  }
  filled += escaped.substr(start);
  return filled;
}

std::string RewriteForServer(std::string_view escaped) {
  const std::string_view name = LeadingName(escaped);
  const std::string upper = AsciiUpper(name);
  const char* root = nullptr;
  std::string_view subfolder;
  if (upper == "LOCAL") {
    root = "2:";
  } else if (upper == "USER") {
    root = "1:";
  } else if (upper == "PRINT") {
    root = "2:";
    subfolder = "/Print";
  } else {
    return std::string(escaped);
  }
  // The server goes in as its placeholder, filled with the others: text put
  // in before that step would be read for placeholders itself.
  std::string branch =
      std::string(root) + std::string(kDriversBranch) + "[SERVER]" + std::string(subfolder);
  return JoinComponents(branch, escaped.substr(name.size() + 1));
}

bool Split(std::string_view expanded, bool is_value_path, ResolvedRegistryPath* out) {
  if (expanded.size() < 2 || expanded[1] != ':') return false;
  ResolvedRegistryPath resolved;
  if (!RootFromDigit(expanded[0], &resolved.root)) return false;
  std::string_view components = expanded.substr(2);
  if (is_value_path) {
    const size_t last = components.rfind('/');
    const size_t name_start = last == std::string_view::npos ? 0 : last + 1;
    resolved.value_name = Decode(components.substr(name_start));
    components = last == std::string_view::npos ? std::string_view() : components.substr(0, last);
  }
  resolved.key = KeyFromComponents(components);
  *out = std::move(resolved);
  return true;
}

}  // namespace registry_path
}  // namespace vantrel
