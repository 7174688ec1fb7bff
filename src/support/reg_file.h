// The .reg text format: "Windows Registry Editor Version 5.00", then sections
// "[HKEY_LOCAL_MACHINE\Key\Sub]" holding value lines:
//
//   "Name"="text"            REG_SZ without embedded zeros or control characters
//   @="text"                 the key's default value (empty name)
//   "Name"=dword:0000001f    a 4-byte REG_DWORD
//   "Name"=hex:de,ad         REG_BINARY
//   "Name"=hex(N):..         any other type N (hexadecimal): hex(2) expand_sz,
//                            hex(7) multi_sz, hex(b) qword, hex(0) none
//   "Name"=-                 deletes the value
//   [-HKEY_...\Key]          deletes the key with everything below it
//
// Byte lists may continue over several lines with a "\" at the end of a line;
// ";" starts a comment line; quoted text escapes "\" and '"' with a backslash.
//
// Reading accepts UTF-16LE with its byte-order mark (what regedit writes), or
// UTF-8 with or without one, and LF or CRLF line ends; the short root names
// HKCR, HKCU, HKLM and HKU are accepted too. Writing produces CRLF lines in
// UTF-16LE with a byte-order mark by default, so that regedit and this code
// read each other's files; UTF-8 is available for tools that prefer it.
//
// Values keep their exact bytes through a write and a read: a string value
// whose bytes are not plain text (odd length, no terminator, embedded zeros,
// control characters) is written as hex(1) rather than as quoted text.
//
// All functions are pure and may be called from any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry_value.h"
#include "platform/settings_store.h"

namespace vantrel {

// One value line. An empty name is the default value ("@").
struct RegFileValue {
  std::string name;
  std::optional<platform::RegistryValue> value;  // nothing: delete the value

  bool operator==(const RegFileValue&) const = default;
};

// One "[...]" section: create the key (and its parents) and apply its values,
// or, when `delete_key` is set, delete the key and its subtree.
struct RegFileSection {
  platform::RegistryRoot root = platform::RegistryRoot::kLocalMachine;
  std::string key;  // "\"-separated below the root; empty for the root itself
  bool delete_key = false;
  std::vector<RegFileValue> values;  // always empty when delete_key is set

  bool operator==(const RegFileSection&) const = default;
};

// The sections of a file in file order; that is the order to apply them in.
struct RegFile {
  std::vector<RegFileSection> sections;

  bool operator==(const RegFile&) const = default;
};

enum class RegFileEncoding { kUtf16WithBom, kUtf8 };

// Parses the bytes of a whole file. On success fills `file` and returns true;
// a file with only the header line gives no sections. On failure returns false
// with `error` set to one line that starts with the line number ("line 7: bad
// hex byte \"zz\"") and leaves `file` untouched. The result never takes more
// memory than a small multiple of the input's size.
bool ParseRegFile(std::string_view bytes, RegFile* file, std::string* error);

// The file's text: the header, a blank line, then each section followed by a
// blank line; lines end in CRLF. Names must hold no line break or zero
// character (CanWriteRegFileName); such names are never produced by
// ParseRegFile.
std::string FormatRegFile(const RegFile& file);

// FormatRegFile's text in the given encoding, ready to be written to a file.
std::string EncodeRegFile(const RegFile& file,
                          RegFileEncoding encoding = RegFileEncoding::kUtf16WithBom);

// True when a key or value name can appear in a file unchanged.
bool CanWriteRegFileName(std::string_view name);

// "HKEY_LOCAL_MACHINE" and its siblings.
std::string_view RegFileRootName(platform::RegistryRoot root);

}  // namespace vantrel
