#include "platform/cups/cups_ppd_posix.h"

#include <cups/cups.h>

#include "platform/win32_errors.h"

namespace vantrel::platform::cups {
namespace {

// PPDs name their version in the header; a PPD is read no further than this.
constexpr size_t kMostPpdBytes = 256 * 1024;
constexpr int kReconnectTimeoutMs = 10000;

long ErrorFromHttpStatus(http_status_t status) {
  switch (status) {
    case HTTP_STATUS_OK:
      return kErrorSuccess;
    case HTTP_STATUS_NOT_FOUND:
      return kErrorFileNotFound;
    case HTTP_STATUS_UNAUTHORIZED:
    case HTTP_STATUS_FORBIDDEN:
      return kErrorAccessDenied;
    default:
      return kErrorSpoolerUnavailable;
  }
}

// Sends the GET and reads the status line and fields; a kept connection the
// scheduler closed meanwhile is opened again once.
http_status_t Get(http_t* http, const std::string& resource) {
  http_status_t status = HTTP_STATUS_ERROR;
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (attempt > 0 && httpReconnect2(http, kReconnectTimeoutMs, nullptr) != 0) break;
    httpClearFields(http);
    if (httpGet(http, resource.c_str()) != 0) continue;
    while ((status = httpUpdate(http)) == HTTP_STATUS_CONTINUE) {
    }
    if (status != HTTP_STATUS_ERROR) break;
  }
  return status;
}

// The body's first kMostPpdBytes; `whole` tells whether that was all of it.
std::string ReadHead(http_t* http, bool* whole) {
  std::string text;
  char buffer[8192];
  ssize_t got = 0;
  while (text.size() < kMostPpdBytes && (got = httpRead2(http, buffer, sizeof buffer)) > 0)
    text.append(buffer, static_cast<size_t>(got));
  *whole = got == 0;
  return text;
}

}  // namespace

PlatformResult FetchPpdFile(ConnectionPool& pool, const std::string& queue, DriverFile* file) {
  http_t* http = pool.Take();
  if (http == nullptr) return kErrorSpoolerUnavailable;
  const http_status_t status = Get(http, "/printers/" + queue + ".ppd");
  if (status != HTTP_STATUS_OK) {
    httpClose(http);  // the scheduler closes after an error page
    return ErrorFromHttpStatus(status);
  }
  const time_t modified = httpGetDateTime(httpGetField(http, HTTP_FIELD_LAST_MODIFIED));
  bool whole = false;
  const std::string head = ReadHead(http, &whole);
  // A body left unread would be taken for the next reply.
  if (whole) {
    pool.Put(http);
  } else {
    httpClose(http);
  }
  *file = DriverFile{};
  file->version = PpdFileVersion(head);
  file->time = modified > 0 ? static_cast<int64_t>(modified) : 0;
  return kErrorSuccess;
}

std::string PpdFileVersion(std::string_view ppd) {
  constexpr std::string_view kKeyword = "*FileVersion:";
  size_t at = 0;
  while ((at = ppd.find(kKeyword, at)) != std::string_view::npos) {
    // Only at the start of a line.
    if (at == 0 || ppd[at - 1] == '\n' || ppd[at - 1] == '\r') break;
    at += kKeyword.size();
  }
  if (at == std::string_view::npos) return {};
  std::string_view value = ppd.substr(at + kKeyword.size());
  value = value.substr(0, value.find_first_of("\r\n"));
  const size_t first = value.find_first_not_of(" \t\"");
  if (first == std::string_view::npos) return {};
  const size_t last = value.find_last_not_of(" \t\"");
  return std::string(value.substr(first, last - first + 1));
}

}  // namespace vantrel::platform::cups
