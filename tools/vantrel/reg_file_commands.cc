// `vantrel reg export` and `import`.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/platform_error.h"
#include "platform/native_thread.h"
#include "platform/win32_errors.h"
#include "reg_commands.h"
#include "reg_report.h"
#include "support/reg_file_store.h"

namespace vantrel::tool {
namespace {

// Larger files are refused before they are read: settings exports are a few
// kilobytes, and the parser holds several copies of its input.
constexpr std::streamoff kMaxImportBytes = 64 << 20;

// The failed call's error number, or `fallback` when the library left none.
long LastErrorOr(long fallback) {
  const long error = platform::LastPlatformError();
  return error != platform::kErrorSuccess ? error : fallback;
}

// File names arrive as UTF-8; a path built from UTF-8 text opens the right
// file on Windows too, where a plain char name would be read as ANSI.
std::filesystem::path FilePath(const std::string& utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

long ReadWholeFile(const std::string& name, std::string* bytes, std::string* problem) {
  std::ifstream in(FilePath(name), std::ios::binary | std::ios::ate);
  if (!in) return LastErrorOr(platform::kErrorFileNotFound);
  if (in.tellg() > kMaxImportBytes) {
    *problem = "the file is larger than 64 MiB";
    return platform::kErrorInvalidData;
  }
  in.seekg(0);
  std::ostringstream content;
  content << in.rdbuf();
  if (in.bad()) return LastErrorOr(platform::kErrorCantRead);
  *bytes = std::move(content).str();
  return platform::kErrorSuccess;
}

long WriteWholeFile(const std::string& name, const std::string& bytes) {
  std::ofstream out(FilePath(name), std::ios::binary | std::ios::trunc);
  if (!out) return LastErrorOr(platform::kErrorAccessDenied);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out) return LastErrorOr(platform::kErrorCantWrite);
  return platform::kErrorSuccess;
}

size_t CountValues(const RegFile& file) {
  size_t values = 0;
  for (const RegFileSection& section : file.sections) values += section.values.size();
  return values;
}

}  // namespace

int RunRegExport(const RegTarget& target, const std::string& path, const std::string& file,
                 bool utf8) {
  ResolvedRegistryPath where;
  if (!MakeRegistry(target)->Resolve(path, false, &where)) {
    return ReportFailure("export", path, platform::kErrorBadPathname);
  }
  RegFile exported;
  std::string failed_at;
  long error;
  {
    const TargetLock lock(target);
    error = ExportRegistryTree(platform::DefaultSettingsStore(), where.root, where.key, &exported,
                               &failed_at);
  }
  if (error != platform::kErrorSuccess) {
    return ReportFailure("export", path, error, DescribeError(error) + " at " + failed_at);
  }
  const auto encoding = utf8 ? RegFileEncoding::kUtf8 : RegFileEncoding::kUtf16WithBom;
  if ((error = WriteWholeFile(file, EncodeRegFile(exported, encoding))) !=
      platform::kErrorSuccess) {
    return ReportFailure("write", file, error);
  }
  std::printf("exported %zu keys and %zu values to %s\n", exported.sections.size(),
              CountValues(exported), file.c_str());
  return 0;
}

int RunRegImport(const std::string& file) {
  std::string bytes;
  std::string problem;
  long error = ReadWholeFile(file, &bytes, &problem);
  if (error != platform::kErrorSuccess) return ReportFailure("read", file, error, problem);
  RegFile parsed;
  if (!ParseRegFile(bytes, &parsed, &problem)) {
    return ReportFailure("import", file, platform::kErrorInvalidData, problem);
  }
  RegFileChanges changes;
  std::string failed_at;
  error = ApplyRegFile(platform::DefaultSettingsStore(), parsed, &changes, &failed_at);
  if (error != platform::kErrorSuccess) {
    return ReportFailure("import", file, error,
                         DescribeError(error) + " at " + failed_at + " (" +
                             std::to_string(changes.values) + " values and " +
                             std::to_string(changes.keys) + " keys changed before)");
  }
  std::printf("imported %s: %u values and %u keys changed\n", file.c_str(), changes.values,
              changes.keys);
  return 0;
}

}  // namespace vantrel::tool
