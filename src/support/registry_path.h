// Symbolic registry paths turned into a root, a key and a value name, without
// touching any store.
//
// A path is a root number or a named key, a colon, then "/"-separated
// components ("2:SOFTWARE/X/Value", "SETTINGS:Darkness"). "\" counts as "/".
// A literal "%", "/" or ":" inside a component is written doubled. Resolving
// runs in this order:
//   1. doubles become "%25", "%2F", "%3A" and "\" becomes "/" (EscapePath);
//   2. an optional rewrite of the escaped text (printers on another server);
//   3. a name before the first ":" after the first character is looked up,
//      upper-cased, in the named-key table and replaced by its expansion;
//   4. "[PRINTER]", "[SERVER]", "[PORT]", "[OEM]" are filled, each value
//      escaped so that it stays inside its component;
//   5. the single digit before the colon picks the root (0-3); the rest, with
//      "/" as "\" and the escapes undone, is the key; for value paths its last
//      component is the value name.
// All functions are pure and may be called from any thread.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/settings_store.h"

namespace vantrel {

struct ResolvedRegistryPath {
  platform::RegistryRoot root = platform::RegistryRoot::kLocalMachine;
  std::string key;         // "\"-separated, escapes undone; "" is the root itself
  std::string value_name;  // empty for key operations
};

// The values a printer's paths are filled with, as plain text.
struct RegistryPlaceholders {
  std::string printer;
  std::string server;
  std::string port;
  std::string oem;
};

// Doubles "%", "/" and ":" so that `name` stays one component of a path a
// caller writes ("A/B" -> "A//B"). Doubles are read from the left, so a name
// that begins with "/" or ":" cannot directly follow a separator.
std::string EscapeRegistryName(std::string_view name);

namespace registry_path {

// The named-key table in order: name, expansion (itself a path, possibly with
// placeholders). Built on first use, then only read.
const std::vector<std::pair<std::string, std::string>>& NamedKeys();

// Step 1: "%%", "//", "::" to "%25", "%2F", "%3A"; every "\" to "/".
std::string EscapePath(std::string_view path);

// "%", "/", ":" to "%25", "%2F", "%3A": text to be inserted into an escaped
// path as part of one component.
std::string EncodeComponent(std::string_view text);

// Step 3: an escaped path whose leading name is in the table, with the name
// replaced by its expansion and the rest joined with "/". Other paths come
// back unchanged.
std::string ExpandNamedKey(std::string_view escaped);

// Step 4: placeholders filled (bracket text compared case-sensitively; other
// bracket text kept). Filled values are not scanned again.
std::string FillPlaceholders(std::string_view escaped, const RegistryPlaceholders& values);

// For a printer on another server: an escaped path beginning with "PRINT:",
// "LOCAL:" or "USER:" (any letter case) moves to that server's branch, named
// by the "[SERVER]" placeholder that step 4 fills:
//   LOCAL:x -> 2:SOFTWARE/Marlock Scientific/Drivers/@[SERVER]/x
//   PRINT:x -> 2:SOFTWARE/Marlock Scientific/Drivers/@[SERVER]/Print/x
//   USER:x  -> 1:SOFTWARE/Marlock Scientific/Drivers/@[SERVER]/x
// Other paths come back unchanged.
std::string RewriteForServer(std::string_view escaped);

// Step 5 on an expanded, filled path. False when the path does not start with
// a single digit 0-3 and a colon.
bool Split(std::string_view expanded, bool is_value_path, ResolvedRegistryPath* out);

}  // namespace registry_path
}  // namespace vantrel
