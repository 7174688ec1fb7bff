// IStatusReading: a private interface of PrinterStatus, outside the type
// library, for the library's own tools and the Python package. One call gives
// a whole status reading at once (both words, the severity, the text) and
// where word 2 and the severity came from, which no automation member tells.
//
// It has the COM binary layout and needs only the COM types, so a client of
// the shared library may include it alone. Reach it with QueryInterface on a
// PrinterStatus.
#pragma once

#include <cstdint>

#include "automation_runtime.h"

namespace vantrel {

// {275ECF46-2A90-4D70-A63B-AC14B8C81E29}
inline const IID IID_IStatusReading = {
    0x275ecf46, 0x2a90, 0x4d70, {0xa6, 0x3b, 0xac, 0x14, 0xb8, 0xc8, 0x1e, 0x29}};

// Values of StatusReadingRecord::source.
constexpr int32_t kStatusFromSpooler = 0;
constexpr int32_t kStatusFromDevice = 1;

struct StatusReadingRecord {
  uint32_t word1;     // the spooler's printer status
  uint32_t word2;     // the driver's condition bits, with the severity bits
  uint32_t severity;  // 1 normal, 2 error, 3 warning
  BSTR text;          // the caller frees it with SysFreeString
  int32_t source;     // kStatusFromSpooler or kStatusFromDevice
};

struct IStatusReading : public IUnknown {
  // Fills `retReading` from one reading: one spooler request and, for a
  // printer whose driver offers its interface, at most two exchanges with the
  // driver's service. S_OK; E_INVALIDARG for a null pointer (nothing
  // written); the not-initialized error before the object is bound. Blocks
  // for the reading; any thread.
  STDMETHOD(ReadStatus)(StatusReadingRecord* retReading) = 0;
};

}  // namespace vantrel
