#include "printers/status_rules.h"

#include <atomic>

#include "platform/system_strings.h"

namespace vantrel::printers {
namespace {

constexpr const char* kTextLibrary = "printui.dll";
// Holds the generic text for a status with no text of its own.
constexpr const char* kGenericTextLibrary = "puiapi.dll";
constexpr uint32_t kGenericTextId = 300;

struct BitText {
  uint32_t bit;
  uint32_t id;  // in kTextLibrary
  const char* english;
};

// In the order the texts are joined.
constexpr BitText kBitTexts[] = {
    {0x1, 14359, "Paused"},
    {0x8, 14337, "Paper Jam"},
    {0x10, 14338, "Out of Paper"},
    {0x20, 14339, "Manual Feed Required"},
    {0x40, 14340, "Paper Problem"},
    {0x80, 14341, "Offline"},
    {0x100, 14342, "I/O Active"},
    {0x200, 14343, "Busy"},
    {0x400, 14344, "Printing"},
    {0x800, 14345, "Output Bin Full"},
    {0x1000, 14346, "Not Available"},
    {0x2000, 14347, "Waiting"},
    {0x4000, 14348, "Processing"},
    {0x8000, 14349, "Initializing"},
    {0x10000, 14350, "Warming Up"},
    {0x20000, 14351, "Toner/Ink Low"},
    {0x40000, 14352, "No Toner/Ink"},
    {0x80000, 14353, "Page Punt"},
    {0x100000, 14354, "User Intervention Required"},
    {0x200000, 14355, "Out of Memory"},
    {0x400000, 14356, "Door Open"},
    {0x800000, 14357, "Server Status Unknown"},
    {0x1000000, 14358, "Power Save Mode"},
};
constexpr BitText kErrorText = {kStatusErrorBit, 18003, "Error"};
constexpr BitText kReadyText = {0, 18005, "Ready"};

std::atomic<const StatusTextSource*> texts_for_testing{nullptr};

std::string TextOf(const BitText& entry, const StatusTextSource& texts) {
  std::string text = texts(kTextLibrary, entry.id);
  return text.empty() ? entry.english : text;
}

void Append(std::string* text, const std::string& part) {
  if (!text->empty()) *text += ", ";
  *text += part;
}

}  // namespace

const std::array<StatusCondition, 32> kStatusConditions = {{
    {"Paused", 100},          {"PaperJam", 101},      {"PaperOut", 102},
    {"ManualFeed", 103},      {"PaperProblem", 104},  {"Offline", 105},
    {"IOActive", 106},        {"Busy", 107},          {"Printing", 108},
    {"OutputFull", 109},      {"NotAvailable", 110},  {"Waiting", 111},
    {"Processing", 112},      {"Initializing", 113},  {"WarmingUp", 114},
    {"TonerLow", 115},        {"NoToner", 116},       {"UserInterventionRequired", 118},
    {"OutOfMemory", 119},     {"DoorOpen", 120},      {"PowerSave", 121},
    {"LabelPresent", 201},    {"PrinterPaused", 202}, {"BatteryLow", 203},
    {"BatteryCharging", 204}, {"RibbonLow", 205},     {"RibbonOut", 206},
    {"RibbonError", 207},     {"PaperLow", 208},      {"HeadOpen", 209},
    {"HeadError", 210},       {"CutterError", 211},
}};

StatusCodeBit BitOfStatusCode(int32_t code) {
  if (code == 100) return {1, 0x1};
  // 101..120 are the consecutive bits from PAPER_JAM (0x8) to DOOR_OPEN.
  if (code >= 101 && code <= 120) return {1, 0x8u << (code - 101)};
  // POWER_SAVE is bit 24: bit 23 (SERVER_UNKNOWN) has no code.
  if (code == 121) return {1, 0x1000000};
  if (code >= 201 && code <= 211) return {2, 1u << (code - 201)};
  return {};
}

bool TestStatusCode(int32_t code, uint32_t word1, uint32_t word2) {
  const StatusCodeBit where = BitOfStatusCode(code);
  if (where.word == 1) return (word1 & where.bit) != 0;
  if (where.word == 2) return (word2 & where.bit) != 0;
  return false;
}

uint32_t SeverityOfWord1(uint32_t word1) {
  if (word1 & kErrorStatusMask) return kSeverityError;
  if (word1 & kWarningStatusMask) return kSeverityWarning;
  return kSeverityNormal;
}

uint32_t SeverityBits(uint32_t severity) {
  if (severity == kSeverityError) return kWord2ErrorBit;
  if (severity == kSeverityWarning) return kWord2WarningBit;
  return 0;
}

StatusTextSource SystemStatusTexts() {
  if (const StatusTextSource* texts = texts_for_testing.load()) return *texts;
  return platform::LoadSystemLibraryString;
}

void SetStatusTextsForTesting(const StatusTextSource* texts) { texts_for_testing.store(texts); }

std::string StatusTextOfWord1(uint32_t word1, const StatusTextSource& texts) {
  std::string text;
  for (const BitText& entry : kBitTexts)
    if (word1 & entry.bit) Append(&text, TextOf(entry, texts));
  // A bare ERROR says only "Error"; a more specific error bit speaks for it.
  if ((word1 & kErrorStatusMask) == kStatusErrorBit) Append(&text, TextOf(kErrorText, texts));
  if (word1 != 0 && text.empty()) text = texts(kGenericTextLibrary, kGenericTextId);
  if (text.empty()) text = TextOf(kReadyText, texts);
  return text;
}

std::string JoinStatusTexts(const std::string& device_text, uint32_t word1,
                            const StatusTextSource& texts) {
  if (device_text.empty()) return StatusTextOfWord1(word1, texts);
  // PENDING_DELETION and the bits above POWER_SAVE have no text of their
  // own; alone they would only add the generic text or "Ready".
  constexpr uint32_t kBitsWithText = 0x01FFFFFB;
  if ((word1 & kBitsWithText) == 0) return device_text;
  return device_text + ", " + StatusTextOfWord1(word1, texts);
}

}  // namespace vantrel::printers
