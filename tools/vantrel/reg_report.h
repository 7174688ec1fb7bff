// How `vantrel reg` reports a failure: one line on stderr,
//   vantrel: cannot read "9:SOFTWARE/X": invalid path (error 161)
// and exit status 1. Main thread only (it writes to the standard streams).
#pragma once

#include <string>
#include <string_view>

namespace vantrel::tool {

constexpr int kExitFailure = 1;

// A short text for a Windows error number: our own wording for the numbers
// the registry commands meet most, the system's message for the rest.
std::string DescribeError(long error);

// Prints the line, with `problem` or else DescribeError(error) as the
// problem, and returns kExitFailure. Line breaks in the parts are flattened
// so that the report stays one line.
int ReportFailure(std::string_view verb, std::string_view subject, long error,
                  std::string_view problem = {});

}  // namespace vantrel::tool
