// The identifiers of the runtime's interfaces: the values every COM client
// knows them by.
#include "automation_runtime.h"

namespace {

constexpr GUID Guid(uint32_t d1, uint16_t d2, uint16_t d3, uint8_t b0, uint8_t b1, uint8_t b2,
                    uint8_t b3, uint8_t b4, uint8_t b5, uint8_t b6, uint8_t b7) {
  return GUID{d1, d2, d3, {b0, b1, b2, b3, b4, b5, b6, b7}};
}

// The interfaces that came with the first automation release share one tail.
constexpr GUID OleGuid(uint32_t d1) { return Guid(d1, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46); }

// The error-information interfaces and the connection-point family share theirs too.
constexpr GUID ErrorGuid(uint32_t d1, uint16_t d2) {
  return Guid(d1, d2, 0x101B, 0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19);
}
constexpr GUID ConnectionGuid(uint32_t d1) {
  return Guid(d1, 0xBAB4, 0x101A, 0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07);
}

}  // namespace

extern "C" {
const GUID GUID_NULL = Guid(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
const IID IID_IUnknown = OleGuid(0x00000000);
const IID IID_IClassFactory = OleGuid(0x00000001);
const IID IID_IDispatch = OleGuid(0x00020400);
const IID IID_ITypeInfo = OleGuid(0x00020401);
const IID IID_ITypeLib = OleGuid(0x00020402);
const IID IID_ITypeComp = OleGuid(0x00020403);
const IID IID_IEnumVARIANT = OleGuid(0x00020404);
const IID IID_IErrorInfo = ErrorGuid(0x1CF2B120, 0x547D);
const IID IID_ICreateErrorInfo = ErrorGuid(0x22F03340, 0x547D);
const IID IID_ISupportErrorInfo = ErrorGuid(0xDF0B3D60, 0x548F);
const IID IID_IProvideClassInfo = ConnectionGuid(0xB196B283);
const IID IID_IConnectionPointContainer = ConnectionGuid(0xB196B284);
const IID IID_IEnumConnectionPoints = ConnectionGuid(0xB196B285);
const IID IID_IConnectionPoint = ConnectionGuid(0xB196B286);
const IID IID_IEnumConnections = ConnectionGuid(0xB196B287);
}
