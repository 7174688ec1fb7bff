// The three forms in which clients read and write the bytes of a device
// command or reply: a byte array, text and hexadecimal digits. Used alike by
// QueryCommand, ImmediateCommand and QueryResponse.
//
// Text is the library's narrow text, UTF-8, on both targets: the bytes are
// decoded as UTF-8 for a client (a byte that is not valid UTF-8 reads as
// U+FFFD) and a client's string is stored as its UTF-8 bytes. The byte array
// and the hexadecimal form carry every byte exactly.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/automation.h"

namespace vantrel {

using ByteVector = std::vector<uint8_t>;

// Two upper-case digits per byte, no separators; empty for no bytes.
std::string BytesToHexadecimal(std::span<const uint8_t> bytes);

// Byte i from characters 2i and 2i+1; a trailing odd character is ignored.
// Never fails: '0'-'9' are their value, any other character gives the low
// four bits of its code plus 9, so 'a'-'f' and 'A'-'F' both work and other
// characters yield some value.
ByteVector HexadecimalToBytes(std::string_view digits);

// The automation forms. Each throws std::bad_alloc when memory runs out; the
// caller owns a returned BSTR. A null BSTR reads as the empty string.
BSTR BytesToTextBstr(std::span<const uint8_t> bytes);
ByteVector TextBstrToBytes(BSTR text);
BSTR BytesToHexadecimalBstr(std::span<const uint8_t> bytes);
ByteVector HexadecimalBstrToBytes(BSTR digits);

// Writes a VT_ARRAY | VT_UI1 variant with a new zero-based array holding a
// copy of `bytes` into `out`, which is overwritten, not cleared.
void BytesToVariant(std::span<const uint8_t> bytes, VARIANT* out);

// The bytes of a one-dimensional array in a variant, from its lower to its
// upper bound: VT_ARRAY | VT_UI1, or VT_ARRAY | VT_VARIANT whose elements
// each convert to a byte (what scripting languages build), either also by
// reference. A null array is empty. Anything else, an element that does not
// fit in a byte, or more than one dimension throws "Invalid argument".
ByteVector VariantToBytes(const VARIANT& value);

// VariantToBytes, and clears `*value` whether or not it throws.
ByteVector TakeVariantBytes(VARIANT* value);

}  // namespace vantrel
