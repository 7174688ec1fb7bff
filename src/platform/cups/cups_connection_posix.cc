#include "platform/cups/cups_connection_posix.h"

#include "platform/cups/cups_mapping_posix.h"
#include "platform/win32_errors.h"

namespace vantrel::platform::cups {

namespace {
constexpr int kConnectTimeoutMs = 10000;
constexpr size_t kMaxIdle = 8;
}  // namespace

ConnectionPool::ConnectionPool(const std::string& server) {
  std::string address = server.empty() ? cupsServer() : server;
  port_ = ippPort();
  const size_t colon = address.rfind(':');
  if (!address.empty() && address[0] != '/' && colon != std::string::npos &&
      address.find(']', colon) == std::string::npos) {
    port_ = std::atoi(address.c_str() + colon + 1);
    address.resize(colon);
  }
  host_ = address;
}

ConnectionPool::~ConnectionPool() {
  for (http_t* http : idle_) httpClose(http);
}

http_t* ConnectionPool::Take() {
  {
    MutexLock lock(mutex_);
    if (!idle_.empty()) {
      http_t* http = idle_.back();
      idle_.pop_back();
      return http;
    }
  }
  return httpConnect2(host_.c_str(), port_, nullptr, AF_UNSPEC, HTTP_ENCRYPTION_IF_REQUESTED, 1,
                      kConnectTimeoutMs, nullptr);
}

void ConnectionPool::Put(http_t* http) {
  if (http == nullptr) return;
  {
    MutexLock lock(mutex_);
    if (idle_.size() < kMaxIdle) {
      idle_.push_back(http);
      return;
    }
  }
  httpClose(http);  // outside the lock: closing may wait on the network
}

ipp_t* ConnectionPool::Do(ipp_t* request, const char* resource, bool about_printer, long* error) {
  http_t* http = Take();
  if (http == nullptr) {
    ippDelete(request);
    *error = kErrorSpoolerUnavailable;
    return nullptr;
  }
  ipp_t* response = cupsDoRequest(http, request, resource);
  const ipp_status_t status = response != nullptr ? ippGetStatusCode(response) : cupsLastError();
  *error = ErrorFromIppStatus(status, about_printer);
  if (response == nullptr && *error == kErrorSuccess) *error = kErrorSpoolerUnavailable;
  // A connection that failed at the transport level is not reused.
  if (response == nullptr) {
    httpClose(http);
  } else {
    Put(http);
  }
  if (*error != kErrorSuccess) {
    ippDelete(response);
    return nullptr;
  }
  return response;
}

std::string ConnectionPool::PrinterUri(const std::string& name) const {
  char uri[HTTP_MAX_URI];
  const int port = host_.empty() || host_[0] == '/' ? ippPort() : port_;
  if (name.empty()) {
    httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", port, "/");
  } else {
    httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", port,
                     "/printers/%s", name.c_str());
  }
  return uri;
}

ipp_t* NewRequest(ipp_op_t operation, const std::string& uri) {
  ipp_t* request = ippNewRequest(operation);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri.c_str());
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr,
               cupsUser());
  return request;
}

void AddRequestedAttributes(ipp_t* request, const char* const* names, int count) {
  ippAddStrings(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", count, nullptr,
                names);
}

}  // namespace vantrel::platform::cups
