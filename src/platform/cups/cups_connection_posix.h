// Connections to the CUPS scheduler, reused across requests. libcups
// connections are not thread-safe, so each request takes an idle connection
// (or opens one) and gives it back.
#pragma once

#include <cups/cups.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>
#include "platform/thread_annotations.h"

namespace vantrel::platform::cups {

class ConnectionPool {
 public:
  // `server` is "HOST:PORT" or a socket path; empty: libcups' own choice
  // (CUPS_SERVER, client.conf).
  explicit ConnectionPool(const std::string& server);
  ~ConnectionPool();

  // A connection for the caller alone, or null when the scheduler cannot be
  // reached. Give it back with Put. Blocks while connecting. Any thread.
  http_t* Take();
  void Put(http_t* http);

  // Sends `request` (consumed) to `resource` and answers the response (null
  // on failure); `error` gets a Windows error number. Any thread.
  ipp_t* Do(ipp_t* request, const char* resource, bool about_printer, long* error);

  // "ipp://localhost:PORT/printers/NAME" (or the server's root for "").
  std::string PrinterUri(const std::string& name) const;
  const std::string& host() const { return host_; }
  int port() const { return port_; }

 private:
  std::string host_;
  int port_ = 631;
  Mutex mutex_;
  std::vector<http_t*> idle_ GUARDED_BY(mutex_);
};

// An ipp_t owned by a unique_ptr.
struct IppDeleter {
  void operator()(ipp_t* message) const { ippDelete(message); }
};
using IppMessage = std::unique_ptr<ipp_t, IppDeleter>;

// A new request with the customary operation attributes and the printer (or
// server) URI.
ipp_t* NewRequest(ipp_op_t operation, const std::string& uri);
void AddRequestedAttributes(ipp_t* request, const char* const* names, int count);

}  // namespace vantrel::platform::cups
