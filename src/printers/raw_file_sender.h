// Sends a file's bytes unchanged to a printer as one spooler job of one page,
// on a printer handle the caller has open. The file is read and written in
// chunks, so memory stays flat whatever its size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/spooler.h"

namespace vantrel {

constexpr size_t kRawFileChunkBytes = size_t{1} << 20;
// The pause before writing the rest of a chunk the spooler took only part of.
constexpr uint32_t kPartialWritePauseMs = 50;
// Writes in a row that take nothing before the job is given up (half a
// minute of pauses): a spooler that stops taking bytes must not hang us.
constexpr uint32_t kMostWritesWithoutProgress = 600;

struct RawFileHooks {
  // Waits between partial writes; null: the platform's sleep.
  std::function<void(uint32_t ms)> pause;
  // Told the bytes written so far and the file's size after each chunk;
  // null: nobody.
  std::function<void(uint64_t written, uint64_t total)> progress;
};

struct RawFileOutcome {
  bool sent = false;         // every byte was written and the last write succeeded
  long error = 0;            // when not sent: the file's or the spooler's Windows error number
  uint32_t job_id = 0;       // the job, once the document was started
  bool file_failed = false;  // the error is the file's: it could not be opened or read
};

// The document name: `job_name` when it is not empty, else the file name's
// part after its last separator (platform::FileNamePart).
std::string RawFileJobName(const std::string& file_name, const std::string& job_name);

// Opens the file and sends it as one document. A file that cannot be opened
// or whose first bytes cannot be read reaches no spooler call. An empty file
// is one write of zero bytes. A started document is always ended, so a
// failure half-way leaves a job holding the bytes written so far. Blocks for
// the whole transfer; any thread, one document per handle at a time.
RawFileOutcome SendRawFile(platform::SpoolerPrinter& printer, const std::string& file_name,
                           const std::string& job_name, const RawFileHooks& hooks = {});

}  // namespace vantrel
