// The byte layout of calls on the driver proxy pipe. A call is a string item
// naming the entry point, that entry's argument items, then one 8-byte reply
// from the server. A string item is a 2-byte count of UTF-16 units (the low
// 16 bits of the length) written on its own, then every unit as UTF-16LE in a
// second write, even past 65535 units. Integers are 8 bytes, little-endian.
// There is no header, call identifier or status word.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/proxy_pipe.h"

namespace vantrel {

using platform::PipeByteStream;

// Item encodings, for the writer and for tests.
std::string EncodeCountOf(std::u16string_view text);
std::string EncodeUnitsOf(std::u16string_view text);
std::string EncodeInteger(uint64_t value);
uint64_t DecodeInteger(const unsigned char bytes[8]);

// The argument kinds of an entry point, in order: 's' string, 'n' integer.
// Empty for a name that is not an entry point.
std::string_view PipeCallSignature(std::string_view entry);

// One call as the serving side reads it.
struct PipeCall {
  std::string entry;                  // UTF-8
  std::vector<std::u16string> texts;  // the string arguments, in order
  std::vector<uint64_t> numbers;      // the integer arguments, in order
};

enum class PipeReadResult { kCall, kClosed, kMalformed };

// Reads one call: kClosed when the peer ended before a new call began,
// kMalformed for an unknown entry name or a call cut short.
PipeReadResult ReadPipeCall(PipeByteStream& stream, PipeCall* call);

}  // namespace vantrel
