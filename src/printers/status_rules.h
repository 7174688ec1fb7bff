// How a printer's status words become conditions, a severity and a text.
// Pure functions over the two words; the only outside input is the source
// of the localised texts, given as a parameter so that callers (and tests)
// choose it.
//
// Word 1 is the spooler's printer status (the PRINTER_STATUS_* bits); word 2
// is the driver's "Status Flags 2" with the library's two severity bits on
// top. Severity: 1 normal, 2 error, 3 warning.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace vantrel::printers {

constexpr uint32_t kSeverityNormal = 1;
constexpr uint32_t kSeverityError = 2;
constexpr uint32_t kSeverityWarning = 3;

// The bits word 2 carries for the severity.
constexpr uint32_t kWord2ErrorBit = 0x80000000u;
constexpr uint32_t kWord2WarningBit = 0x40000000u;

// Word-1 bits that make a printer's state an error or a warning.
constexpr uint32_t kErrorStatusMask = 0x00FC185Au;
constexpr uint32_t kWarningStatusMask = 0x01020000u;
constexpr uint32_t kStatusErrorBit = 0x2u;

// A condition the status object names, with the code the driver interface
// takes for it.
struct StatusCondition {
  const char* name;  // the property's name ("PaperOut")
  int32_t code;      // 100..121 word 1, 201..211 word 2
};
// The 32 named conditions, word 1's first, each in code order.
extern const std::array<StatusCondition, 32> kStatusConditions;

// Where a code's bit sits; word 0 for a code that names no bit.
struct StatusCodeBit {
  int word = 0;
  uint32_t bit = 0;
};
StatusCodeBit BitOfStatusCode(int32_t code);

// Whether the condition `code` holds in the two words; false for a code
// that names no bit.
bool TestStatusCode(int32_t code, uint32_t word1, uint32_t word2);

// The spooler's severity of word 1: an error bit gives 2, else a warning
// bit 3, else 1. Offline, paused and the like are neither.
uint32_t SeverityOfWord1(uint32_t word1);

// The two severity bits of word 2 for `severity` (0 for normal or unknown).
uint32_t SeverityBits(uint32_t severity);

// A localised text: the system library's string `id`, or empty when there is
// none. The system's source is platform::LoadSystemLibraryString, unless a
// test put its own in place.
using StatusTextSource = std::function<std::string(const char* library, uint32_t id)>;
StatusTextSource SystemStatusTexts();
// Replaces the system's source until called with null (tests only); the
// source must outlive its use.
void SetStatusTextsForTesting(const StatusTextSource* texts);

// The text of word 1: the texts of its set bits in bit order joined by ", ",
// then "Error" when the error bit is the only error bit set; for a non-zero
// word with no text, the system's generic status string; else "Ready".
// Each text is the source's when it has one, else the English one. Calls
// `texts` once per text it needs.
std::string StatusTextOfWord1(uint32_t word1, const StatusTextSource& texts);

// The text of a printer whose device reported `device_text`: that text,
// followed after ", " by the spooler's own conditions of word 1 when it has
// any (a paused queue is news the device cannot give); the text of word 1
// alone when the device's text is empty.
std::string JoinStatusTexts(const std::string& device_text, uint32_t word1,
                            const StatusTextSource& texts);

}  // namespace vantrel::printers
