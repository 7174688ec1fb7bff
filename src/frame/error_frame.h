// The frame every automation member runs in: OExceptionHandler's table of
// results, plus the client's error information (description = the text,
// source = the ProgID registered for the object's class).
#pragma once

#include <string>

#include "automation_runtime.h"
#include "support/exception_handler.h"

namespace vantrel::frame {

class KestoExceptionHandler : public OExceptionHandler {
 public:
  // `source` is static text such as "Printers::get_Item".
  KestoExceptionHandler(const char* source, REFCLSID clsid)
      : OExceptionHandler(source, kReportLevelMethod), clsid_(clsid) {}

 protected:
  void OnFailure(ResultCode result, const std::string& text) override;

 private:
  const CLSID& clsid_;
};

// Publishes error information for the calling thread: null GUID, the ProgID of
// `clsid` as the source (left unset when none is registered), `text` (UTF-8)
// as the description. Returns S_OK, or E_OUTOFMEMORY / the runtime's failure,
// in which case nothing is published. Never throws.
HRESULT SetClientError(REFCLSID clsid, const std::string& text);

}  // namespace vantrel::frame
