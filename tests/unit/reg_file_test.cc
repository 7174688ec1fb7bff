#include "support/reg_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/unicode.h"

namespace vantrel {
namespace {

using platform::MakeBinaryValue;
using platform::MakeDwordValue;
using platform::MakeMultiStringValue;
using platform::MakeQwordValue;
using platform::MakeStringValue;
using platform::RegistryRoot;
using platform::RegistryValue;

std::string Utf16Le(std::string_view utf8, bool with_bom = true) {
  std::string bytes = with_bom ? "\xFF\xFE" : "";
  for (const char16_t unit : platform::Utf8ToUtf16(utf8)) {
    bytes.push_back(static_cast<char>(unit & 0xFF));
    bytes.push_back(static_cast<char>(unit >> 8));
  }
  return bytes;
}

RegFile ParseOrFail(std::string_view bytes) {
  RegFile file;
  std::string error;
  EXPECT_TRUE(ParseRegFile(bytes, &file, &error)) << error;
  return file;
}

std::string ParseError(std::string_view bytes) {
  RegFile file{{RegFileSection{}}};
  std::string error;
  EXPECT_FALSE(ParseRegFile(bytes, &file, &error)) << "accepted: " << bytes;
  EXPECT_EQ(file.sections.size(), 1u) << "a failed parse must leave the output alone";
  return error;
}

// What regedit writes for a key holding one value of each kind, with its byte
// lists wrapped over several lines.
constexpr std::string_view kRegeditSample =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantrel Test]\r\n"
    "@=\"default\"\r\n"
    "\"Text\"=\"C:\\\\Labels \\\"quoted\\\"\"\r\n"
    "\"Count\"=dword:0000001f\r\n"
    "\"Blob\"=hex:de,ad,be,ef\r\n"
    "\"Path\"=hex(2):25,00,50,00,00,00\r\n"
    "\"List\"=hex(7):61,00,00,00,62,00,00,00,00,00\r\n"
    "\"Big\"=hex(b):08,07,06,05,04,03,02,01\r\n"
    "\"Nothing\"=hex(0):\r\n"
    "\"Long\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,\\\r\n"
    "  16,17,18,19\r\n"
    "\r\n"
    "; the next key goes, with its subtree\r\n"
    "[-HKEY_CURRENT_USER\\Software\\Old]\r\n"
    "\r\n"
    "[HKEY_USERS\\.DEFAULT]\r\n"
    "\"Gone\"=-\r\n"
    "\r\n";

TEST(RegFileParse, ReadsEveryKindOfLineAsRegeditWritesThem) {
  const RegFile file = ParseOrFail(Utf16Le(kRegeditSample));
  ASSERT_EQ(file.sections.size(), 3u);

  const RegFileSection& first = file.sections[0];
  EXPECT_EQ(first.root, RegistryRoot::kLocalMachine);
  EXPECT_EQ(first.key, "SOFTWARE\\Vantrel Test");
  EXPECT_FALSE(first.delete_key);
  std::vector<uint8_t> long_bytes;
  for (uint8_t i = 0; i < 26; ++i) long_bytes.push_back(i);
  const std::vector<RegFileValue> expected{
      {"", MakeStringValue("default")},
      {"Text", MakeStringValue("C:\\Labels \"quoted\"")},
      {"Count", MakeDwordValue(31)},
      {"Blob", MakeBinaryValue({0xde, 0xad, 0xbe, 0xef})},
      {"Path", MakeStringValue("%P", platform::kRegExpandSz)},
      {"List", MakeMultiStringValue({"a", "b"})},
      {"Big", MakeQwordValue(0x0102030405060708)},
      {"Nothing", RegistryValue{platform::kRegNone, {}}},
      {"Long", MakeBinaryValue(long_bytes)},
  };
  EXPECT_EQ(first.values, expected);

  EXPECT_EQ(file.sections[1],
            (RegFileSection{RegistryRoot::kCurrentUser, "Software\\Old", true, {}}));
  EXPECT_EQ(file.sections[2],
            (RegFileSection{RegistryRoot::kUsers, ".DEFAULT", false, {{"Gone", std::nullopt}}}));
}

TEST(RegFileParse, AcceptsUtf8LfShortRootsAndLooseSpacing) {
  std::string lf(kRegeditSample);
  for (size_t at; (at = lf.find("\r\n")) != std::string::npos;) lf.replace(at, 2, "\n");
  const RegFile reference = ParseOrFail(Utf16Le(kRegeditSample));
  EXPECT_EQ(ParseOrFail(lf), reference);
  EXPECT_EQ(ParseOrFail("\xEF\xBB\xBF" + lf), reference);

  const RegFile loose = ParseOrFail(
      "Windows Registry Editor Version 5.00\n"
      "[hklm\\A]\n[HKCU]\n[HKCR\\B]\n[hku\\C]\n"
      "  \"x\" =  DWORD:1F  \n"
      "\"y\"=HEX(B):1,2,3,4,5,6,7,8\n"
      "\"z\"=hex:00,\\\n"
      "\\\n"
      "\t01\n"
      "\"\"=\"empty name is the default\"\n"
      "\"@\"=\"a value really named @\"\n");
  ASSERT_EQ(loose.sections.size(), 4u);
  EXPECT_EQ(loose.sections[0].root, RegistryRoot::kLocalMachine);
  EXPECT_EQ(loose.sections[1].root, RegistryRoot::kCurrentUser);
  EXPECT_EQ(loose.sections[1].key, "");
  EXPECT_EQ(loose.sections[2].root, RegistryRoot::kClassesRoot);
  EXPECT_EQ(loose.sections[3].root, RegistryRoot::kUsers);
  const std::vector<RegFileValue> expected{
      {"x", MakeDwordValue(0x1f)},
      {"y", MakeQwordValue(0x0807060504030201)},
      {"z", MakeBinaryValue({0, 1})},
      {"", MakeStringValue("empty name is the default")},
      {"@", MakeStringValue("a value really named @")},
  };
  EXPECT_EQ(loose.sections[3].values, expected);
}

TEST(RegFileParse, KeyNamesMayHoldBracketsSpacesAndNonAsciiText) {
  const RegFile file = ParseOrFail(
      "Windows Registry Editor Version 5.00\n"
      "[HKEY_LOCAL_MACHINE\\Printers\\Shelf [Label] ]  \n"
      "[HKEY_LOCAL_MACHINE\\Drucker für Etiketten\\größe]\n");
  ASSERT_EQ(file.sections.size(), 2u);
  EXPECT_EQ(file.sections[0].key, "Printers\\Shelf [Label] ");
  EXPECT_EQ(file.sections[1].key, "Drucker für Etiketten\\größe");
}

TEST(RegFileParse, ErrorsNameTheLineAtFault) {
  const std::string header = "Windows Registry Editor Version 5.00\r\n\r\n";
  const struct {
    std::string input;
    std::string expected;
  } cases[] = {
      {"", "line 1: not a registry file"},
      {"REGEDIT4\r\n", "line 1: not a registry file"},
      {"\xFE\xFF", "line 1: big-endian UTF-16"},
      {header + "\"A\"=dword:1\r\n", "line 3: value line before the first key line"},
      {header + "[HKEY_NOWHERE\\X]\r\n", "line 3: unknown root key \"HKEY_NOWHERE\""},
      {header + "[HKLM\\A\\\\B]\r\n", "line 3: empty key name"},
      {header + "[HKLM\\A\\]\r\n", "line 3: empty key name"},
      {header + "[HKLM\\A\r\n", "line 3: a key line must end with \"]\""},
      {header + "[-HKLM]\r\n", "line 3: a root key cannot be deleted"},
      {header + "[-HKLM\\A]\r\n\"x\"=-\r\n", "line 4: value line under a key being deleted"},
      {header + "[HKLM\\A]\r\n\"x=\"1\"\r\n", "line 4: expected \"=\" after the value name"},
      {header + "[HKLM\\A]\r\nx=\"1\"\r\n", "line 4: expected a quoted value name or @"},
      {header + "[HKLM\\A]\r\n\"x\"=\"open\r\n", "line 4: quoted text without its closing quote"},
      {header + "[HKLM\\A]\r\n\"x\"=\"a\\nb\"\r\n", "line 4: unknown escape \"\\n\""},
      {header + "[HKLM\\A]\r\n\"x\"=\"a\" junk\r\n", "line 4: unexpected \"junk\""},
      {header + "[HKLM\\A]\r\n\"x\"=dword:123456789\r\n", "line 4: bad dword \"123456789\""},
      {header + "[HKLM\\A]\r\n\"x\"=dword:\r\n", "line 4: bad dword"},
      {header + "[HKLM\\A]\r\n\"x\"=dword:-1\r\n", "line 4: bad dword"},
      {header + "[HKLM\\A]\r\n\"x\"=hex(1ffffffff):00\r\n", "line 4: bad value type"},
      {header + "[HKLM\\A]\r\n\"x\"=hex(q):00\r\n", "line 4: bad value type"},
      {header + "[HKLM\\A]\r\n\"x\"=str:\"a\"\r\n", "line 4: unknown value data"},
      {header + "[HKLM\\A]\r\n\"x\"=hex:00,\\\r\n  01,zz\r\n", "line 5: bad hex byte \"zz\""},
      {header + "[HKLM\\A]\r\n\"x\"=hex:100\r\n", "line 4: bad hex byte \"100\""},
      {header + "[HKLM\\A]\r\n\"x\"=hex:00,\r\n", "line 4: bad hex byte \"\""},
      {header + "[HKLM\\A]\r\n\"x\"=hex:00,,01\r\n", "line 4: bad hex byte \"\""},
      {header + "[HKLM\\A]\r\n\"x\"=hex:00,\\", "line 4: the byte list continues past the end"},
      {header + "[HKLM\\A]\r\n\"x\"=\"a\rb\"\r\n", "line 4: carriage return inside a line"},
      {header + "[HKLM\\A]\r\n\"x\"=\"\xC3\x28\"\r\n", "line 4: not valid UTF-8 text"},
      {header + "[HKLM\\A]\r\n\"x\"=\"a" + std::string(1, '\0') + "\"\r\n",
       "line 4: zero character"},
      {Utf16Le(header + "[HKLM\\A]\r\n") + "\x41", "line 4: the UTF-16 text ends in half"},
      {Utf16Le(header + "[HKLM\\A]\r\n") + std::string("\x00\xD8", 2) + Utf16Le("\r\n", false),
       "line 4: not valid UTF-16 text"},
  };
  for (const auto& c : cases) {
    const std::string error = ParseError(c.input);
    EXPECT_EQ(error.rfind(c.expected, 0), 0u) << "got: " << error << "\nexpected: " << c.expected;
    EXPECT_EQ(error.find('\n'), std::string::npos) << error;
  }
}

TEST(RegFileParse, LongBadInputIsShortenedInTheMessage) {
  const std::string error = ParseError(
      "Windows Registry Editor Version 5.00\n[HKLM\\A]\n\"x\"=hex:" + std::string(100000, '7'));
  EXPECT_LT(error.size(), 120u) << error;
}

// A section holding values that only survive a write when the writer picks
// the right form for each: hex(1) for strings that are not plain text, hex(4)
// for a DWORD of the wrong size.
RegFile AwkwardValues() {
  std::vector<uint8_t> many(300);
  for (size_t i = 0; i < many.size(); ++i) many[i] = static_cast<uint8_t>(i * 7);
  RegFileSection values{
      RegistryRoot::kCurrentUser,
      "Software\\Quote\"s and \\ and ]",
      false,
      {
          {"", MakeStringValue("")},
          {"quote \" and backslash \\", MakeStringValue("\"C:\\Program Files\\\"")},
          {"non-ASCII ключ €", MakeStringValue("текст 😀")},
          {"tab", MakeStringValue("a\tb")},
          {"embedded zero", RegistryValue{platform::kRegSz, {'a', 0, 0, 0, 'b', 0, 0, 0}}},
          {"no terminator", RegistryValue{platform::kRegSz, {'a', 0}}},
          {"odd length", RegistryValue{platform::kRegSz, {'a', 0, 0}}},
          {"lone surrogate", RegistryValue{platform::kRegSz, {0x00, 0xD8, 0, 0}}},
          {"empty sz", RegistryValue{platform::kRegSz, {}}},
          {"short dword", RegistryValue{platform::kRegDword, {1, 2, 3}}},
          {"dword", MakeDwordValue(0xFFFFFFFF)},
          {"four-byte binary", MakeBinaryValue({1, 2, 3, 4})},
          {"empty binary", MakeBinaryValue({})},
          {"many bytes", MakeBinaryValue(many)},
          {"expand", MakeStringValue("%SystemRoot%\\x", platform::kRegExpandSz)},
          {"multi", MakeMultiStringValue({"one", "two", "three"})},
          {"qword", MakeQwordValue(0xFEDCBA9876543210)},
          {"unknown type", RegistryValue{0x12345678, {9}}},
          {"deleted", std::nullopt},
      }};
  return RegFile{{values, RegFileSection{RegistryRoot::kClassesRoot, "", false, {}},
                  RegFileSection{RegistryRoot::kLocalMachine, "A\\B", true, {}}}};
}

TEST(RegFileWrite, EveryValueSurvivesAWriteAndARead) {
  const RegFile original = AwkwardValues();
  for (const auto encoding : {RegFileEncoding::kUtf16WithBom, RegFileEncoding::kUtf8}) {
    EXPECT_EQ(ParseOrFail(EncodeRegFile(original, encoding)), original);
  }
}

TEST(RegFileWrite, UsesRegeditsLayout) {
  const std::string text = FormatRegFile(AwkwardValues());
  EXPECT_TRUE(text.starts_with("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\"));
  EXPECT_TRUE(text.ends_with("[-HKEY_LOCAL_MACHINE\\A\\B]\r\n\r\n"));
  EXPECT_NE(text.find("\r\n[HKEY_CLASSES_ROOT]\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n@=\"\"\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n\"quote \\\" and backslash \\\\\"=\"\\\"C:\\\\Program Files\\\\\\\"\""),
            std::string::npos);
  EXPECT_NE(text.find("\r\n\"dword\"=dword:ffffffff\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n\"four-byte binary\"=hex:01,02,03,04\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n\"short dword\"=hex(4):01,02,03\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n\"tab\"=hex(1):61,00,09,00,62,00,00,00\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n\"qword\"=hex(b):10,32,54,76,98,ba,dc,fe\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n\"unknown type\"=hex(12345678):09\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n\"empty binary\"=hex:\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n\"deleted\"=-\r\n"), std::string::npos);

  // Byte lists wrap before 80 columns, each continued line ending in ",\".
  size_t continued = 0;
  for (size_t start = 0, end; (end = text.find("\r\n", start)) != std::string::npos;
       start = end + 2) {
    const std::string_view line(text.data() + start, end - start);
    EXPECT_LE(line.size(), 80u) << line;
    if (line.ends_with("\\")) {
      ++continued;
      EXPECT_TRUE(line.ends_with(",\\")) << line;
      EXPECT_TRUE(text.compare(end + 2, 2, "  ") == 0) << "continuation must be indented";
    }
  }
  EXPECT_GE(continued, 300u * 3 / 80);
}

TEST(RegFileWrite, Utf16OutputCarriesAByteOrderMark) {
  const RegFile file{{RegFileSection{RegistryRoot::kLocalMachine, "Ä", false, {}}}};
  const std::string bytes = EncodeRegFile(file);
  EXPECT_EQ(bytes, Utf16Le(FormatRegFile(file)));
  EXPECT_EQ(EncodeRegFile(file, RegFileEncoding::kUtf8), FormatRegFile(file));
}

TEST(RegFileWrite, NamesWithLineBreaksOrZerosCannotBeWritten) {
  EXPECT_TRUE(CanWriteRegFileName("any \"text\" \\ ] [ @ ;"));
  EXPECT_FALSE(CanWriteRegFileName("two\nlines"));
  EXPECT_FALSE(CanWriteRegFileName("carriage\rreturn"));
  EXPECT_FALSE(CanWriteRegFileName(std::string_view("zero\0", 5)));
}

}  // namespace
}  // namespace vantrel
