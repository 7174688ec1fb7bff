// Status through the spooler's word alone: one GetInfo6 per answer.
#include "printers/basic_driver_interface.h"
#include "printers/status_rules.h"

namespace vantrel::printers {

std::string BasicDriverInterface::GetStatusText() {
  return StatusTextOfWord1(GetStatusWord(), SystemStatusTexts());
}

bool BasicDriverInterface::GetStatusFlag(int32_t code) {
  // Only word-1 codes can hold here; the word is not fetched for the others.
  if (BitOfStatusCode(code).word != 1) return false;
  return TestStatusCode(code, GetStatusWord(), 0);
}

uint32_t BasicDriverInterface::GetSeverity() { return SeverityOfWord1(GetStatusWord()); }

uint32_t BasicDriverInterface::GetStatusWord2() { return SeverityBits(GetSeverity()); }

StatusReading BasicDriverInterface::ReadStatus() {
  StatusReading reading;
  reading.word1 = GetStatusWord();
  reading.severity = SeverityOfWord1(reading.word1);
  reading.word2 = SeverityBits(reading.severity);
  reading.text = StatusTextOfWord1(reading.word1, SystemStatusTexts());
  reading.source = StatusSource::kSpooler;
  return reading;
}

}  // namespace vantrel::printers
