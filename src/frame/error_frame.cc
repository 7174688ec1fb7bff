#include "frame/error_frame.h"

#include <new>

#include "frame/com_ptr.h"
#include "frame/ole_string.h"

namespace vantrel::frame {

void KestoExceptionHandler::OnFailure(ResultCode result, const std::string& text) {
  SetClientError(clsid_, text);  // its own failure leaves the member's result as it is
}

HRESULT SetClientError(REFCLSID clsid, const std::string& text) {
  try {
    const Bstr description(text);
    ComPtr<ICreateErrorInfo> create;
    HRESULT hr = CreateErrorInfo(create.Receive());
    if (FAILED(hr)) return hr;
    create->SetGUID(GUID_NULL);
    LPOLESTR progid = nullptr;
    if (SUCCEEDED(ProgIDFromCLSID(clsid, &progid))) {
      create->SetSource(progid);
      CoTaskMemFree(progid);
    }
    create->SetDescription(description.get());
    ComPtr<IErrorInfo> info;
    hr = create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(info.Receive()));
    if (FAILED(hr)) return hr;
    return SetErrorInfo(0, info.Get());
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace vantrel::frame
