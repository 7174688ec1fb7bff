#include "printers/raw_file_sender.h"

#include <memory>
#include <vector>

#include "platform/clock.h"
#include "platform/file_reader.h"
#include "platform/folders.h"
#include "platform/win32_errors.h"

namespace vantrel {
namespace {

// Writes `size` bytes, pausing before each further write when the spooler
// took only part of them. The spooler's error, or kErrorTimeout when it keeps
// taking nothing.
long WriteAll(platform::SpoolerPrinter& printer, const uint8_t* bytes, size_t size,
              const RawFileHooks& hooks) {
  size_t position = 0;
  uint32_t idle_writes = 0;
  do {
    uint32_t written = 0;
    const auto offered = static_cast<uint32_t>(size - position);
    if (const long error = printer.Write(bytes + position, offered, &written)) return error;
    position += written;
    idle_writes = written == 0 ? idle_writes + 1 : 0;
    if (position >= size) return platform::kErrorSuccess;
    if (idle_writes >= kMostWritesWithoutProgress) return platform::kErrorTimeout;
    if (hooks.pause) {
      hooks.pause(kPartialWritePauseMs);
    } else {
      platform::SleepMilliseconds(kPartialWritePauseMs);
    }
  } while (true);
}

// Sends the chunk already read and the rest of the file; the first error of
// the file (then `file_failed` is set) or the spooler.
long SendChunks(platform::SpoolerPrinter& printer, platform::FileReader& file,
                std::vector<uint8_t>& chunk, size_t first_size, const RawFileHooks& hooks,
                bool* file_failed) {
  size_t size = first_size;
  uint64_t sent = 0;
  do {
    if (const long error = WriteAll(printer, chunk.data(), size, hooks)) return error;
    sent += size;
    if (hooks.progress) hooks.progress(sent, file.size());
    if (size == 0) return platform::kErrorSuccess;
    if (const long error = file.Read(chunk.data(), chunk.size(), &size)) {
      *file_failed = true;
      return error;
    }
  } while (size > 0);
  return platform::kErrorSuccess;
}

}  // namespace

std::string RawFileJobName(const std::string& file_name, const std::string& job_name) {
  return job_name.empty() ? platform::FileNamePart(file_name) : job_name;
}

RawFileOutcome SendRawFile(platform::SpoolerPrinter& printer, const std::string& file_name,
                           const std::string& job_name, const RawFileHooks& hooks) {
  RawFileOutcome outcome;
  std::unique_ptr<platform::FileReader> file;
  outcome.file_failed = true;
  if ((outcome.error = platform::OpenFileReader(file_name, &file))) return outcome;
  std::vector<uint8_t> chunk(kRawFileChunkBytes);
  size_t first_size = 0;
  if ((outcome.error = file->Read(chunk.data(), chunk.size(), &first_size))) return outcome;
  outcome.file_failed = false;

  // No datatype: the printer's default applies.
  outcome.error = printer.StartDoc(RawFileJobName(file_name, job_name), "", &outcome.job_id);
  if (outcome.error) return outcome;
  outcome.error = printer.StartPage();
  if (outcome.error == platform::kErrorSuccess) {
    outcome.error = SendChunks(printer, *file, chunk, first_size, hooks, &outcome.file_failed);
    outcome.sent = outcome.error == platform::kErrorSuccess;
    // The spooler keeps what was written even when this fails.
    static_cast<void>(printer.EndPage());
  }
  if (const long error = printer.EndDoc(); error && outcome.sent) {
    outcome.sent = false;
    outcome.error = error;
  }
  return outcome;
}

}  // namespace vantrel
