// The spooler's two-call read: a size probe, then the read into a buffer of
// the size the probe asked for. Only the probe's insufficient-buffer answer
// (122) goes on to the read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/win32_errors.h"

namespace vantrel::platform {

// `call(data, size, &needed)` makes the system call and returns whether it
// succeeded; `last_error()` gives the error of one that did not. `minimum`
// is the size of the record the caller reads from the start of the buffer:
// a read that yields less fails with kErrorInvalidData, so a caller never
// reads a record out of an empty buffer. Enumerations pass 0; for them a
// probe that succeeds means there is nothing to list.
//
// 0 with `buffer` filled, or the failing call's error (kErrorInvalidData for
// a failure that gives none); the buffer is then empty. Blocks in `call`.
template <typename Size, typename Call, typename LastError>
PlatformResult ReadTwoCalls(std::vector<uint8_t>* buffer, size_t minimum, Call call,
                            LastError last_error) {
  buffer->clear();
  Size needed = 0;
  if (call(nullptr, Size{0}, &needed)) return minimum == 0 ? kErrorSuccess : kErrorInvalidData;
  long error = last_error();
  if (error != kErrorInsufficientBuffer) return error != kErrorSuccess ? error : kErrorInvalidData;
  if (needed < minimum) return kErrorInvalidData;
  buffer->assign(needed, 0);
  if (call(buffer->data(), static_cast<Size>(buffer->size()), &needed)) return kErrorSuccess;
  buffer->clear();
  error = last_error();
  return error != kErrorSuccess ? error : kErrorInvalidData;
}

}  // namespace vantrel::platform
