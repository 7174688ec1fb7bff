// Resolves symbolic registry paths built from arbitrary bytes, through
// ORegistry and PrinterRegistry, without touching a store. Checks:
//   - any path resolves as a key path exactly when it resolves as a value
//     path, to the same root, and the key path's key is the value path's key
//     joined with its value name;
//   - names escaped with EscapeRegistryName come back unchanged as the key's
//     components and the value name, whatever "%", "/", ":" or "[" they hold;
//   - a printer's name, port, OEM and server are filled into their
//     components verbatim, are not read as placeholders themselves and never
//     add or remove a component.
// The input is split at NUL bytes: a root selector, the printer, server, port
// and OEM names, then the path's names; the whole input is also a raw path.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "support/registry.h"

namespace {

using vantrel::ORegistry;
using vantrel::PrinterRegistry;
using vantrel::ResolvedRegistryPath;

[[noreturn]] void Fail(const char* what, std::string_view path) {
  std::fprintf(stderr, "%s: %.*s\n", what, static_cast<int>(path.size()), path.data());
  std::abort();
}

std::vector<std::string> SplitAtNul(std::string_view bytes) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t nul = bytes.find('\0'); nul != std::string_view::npos;
       nul = bytes.find('\0', start)) {
    parts.emplace_back(bytes.substr(start, nul - start));
    start = nul + 1;
  }
  parts.emplace_back(bytes.substr(start));
  return parts;
}

std::string Join(const std::vector<std::string>& parts, size_t count, std::string_view separator) {
  std::string joined;
  for (size_t i = 0; i < count; ++i) {
    if (i > 0) joined += separator;
    joined += parts[i];
  }
  return joined;
}

void CheckKeyAndValueAgree(const ORegistry& registry, std::string_view path) {
  ResolvedRegistryPath as_key, as_value;
  const bool key_ok = registry.Resolve(path, false, &as_key);
  const bool value_ok = registry.Resolve(path, true, &as_value);
  if (key_ok != value_ok) Fail("key and value paths disagree on resolving", path);
  if (!key_ok) return;
  if (as_key.root != as_value.root) Fail("key and value paths have other roots", path);
  // One component: the key path's key is the value name; more: the value
  // path's key, a separator and the value name.
  const bool one_component = as_value.key.empty() && as_key.key == as_value.value_name;
  if (!one_component && as_key.key != as_value.key + "\\" + as_value.value_name)
    Fail("the value name is not the key's last component", path);
}

// A name a caller can write into a path with EscapeRegistryName: "\" always
// separates, and a leading "/" or ":" would pair with the separator before it.
bool IsWritableName(const std::string& name, bool allow_brackets) {
  if (name.empty() || name[0] == '/' || name[0] == ':') return false;
  if (name.find('\\') != std::string::npos) return false;
  return allow_brackets || name.find('[') == std::string::npos;
}

void Expect(const ORegistry& registry, const std::string& path, const std::string& key,
            const std::string& value_name) {
  ResolvedRegistryPath resolved;
  if (!registry.Resolve(path, true, &resolved)) Fail("a written path does not resolve", path);
  if (resolved.key != key) Fail("the key is not the names written", path);
  if (resolved.value_name != value_name) Fail("the value name is not the name written", path);
}

// A root digit and the escaped names, which must come back as written.
void CheckEscapedNames(char selector, const std::vector<std::string>& names) {
  for (const std::string& name : names)
    if (!IsWritableName(name, true)) return;
  using vantrel::platform::RegistryRoot;
  constexpr RegistryRoot kRoots[] = {RegistryRoot::kClassesRoot, RegistryRoot::kCurrentUser,
                                     RegistryRoot::kLocalMachine, RegistryRoot::kUsers};
  const int digit = static_cast<unsigned char>(selector) % 4;
  std::vector<std::string> escaped;
  for (const std::string& name : names) escaped.push_back(vantrel::EscapeRegistryName(name));
  const std::string path = std::to_string(digit) + ":" + Join(escaped, escaped.size(), "/");
  const ORegistry registry;
  Expect(registry, path, Join(names, names.size() - 1, "\\"), names.back());
  ResolvedRegistryPath resolved;
  registry.Resolve(path, true, &resolved);
  if (resolved.root != kRoots[digit]) Fail("the root is not the digit written", path);
}

// The printer's own settings and its port/OEM/server components.
void CheckPlaceholders(const std::vector<std::string>& fields,
                       const std::vector<std::string>& names) {
  for (const std::string& name : names)
    if (!IsWritableName(name, false)) return;
  const PrinterRegistry printer(fields[0], fields[1], fields[2], fields[3]);
  const auto& filled = printer.placeholders();
  std::vector<std::string> escaped;
  for (const std::string& name : names) escaped.push_back(vantrel::EscapeRegistryName(name));
  const std::string inner = Join(names, names.size() - 1, "\\");
  const std::string rest = Join(escaped, escaped.size(), "/");

  std::string key = "SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\" + filled.printer +
                    "\\PrinterDriverData\\Settings";
  Expect(printer, "SETTINGS:" + rest, inner.empty() ? key : key + "\\" + inner, names.back());

  key = "Lab\\" + filled.port + "\\" + filled.oem + "\\" + filled.server + "\\" + filled.printer;
  Expect(printer, "2:Lab/[PORT]/[OEM]/[SERVER]/[PRINTER]/" + rest,
         inner.empty() ? key : key + "\\" + inner, names.back());

  if (printer.is_remote()) {
    key = "SOFTWARE\\Marlock Scientific\\Drivers\\@" + filled.server;
    Expect(printer, "LOCAL:" + rest, inner.empty() ? key : key + "\\" + inner, names.back());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  CheckKeyAndValueAgree(ORegistry(), bytes);

  std::vector<std::string> parts = SplitAtNul(bytes);
  if (parts.size() < 6 || parts[0].empty()) return 0;
  const std::vector<std::string> fields(parts.begin() + 1, parts.begin() + 5);
  const std::vector<std::string> names(parts.begin() + 5, parts.end());
  CheckEscapedNames(parts[0][0], names);
  CheckPlaceholders(fields, names);
  const PrinterRegistry printer(fields[0], fields[1], fields[2], fields[3]);
  for (const std::string& name : names) CheckKeyAndValueAgree(printer, name);
  return 0;
}
