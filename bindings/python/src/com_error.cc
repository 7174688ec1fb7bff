#include "com_error.h"

#include "values.h"

namespace vantrel::python {
namespace {

std::u16string TakeString(BSTR& text) {
  std::u16string copy = text ? std::u16string(text, SysStringLen(text)) : std::u16string();
  SysFreeString(text);
  text = nullptr;
  return copy;
}

// Moves the thread's pending error information, if any, into `failure`. The
// information is per thread and handed over once, so this also keeps an old
// failure from being reported with a later call.
void TakeThreadErrorInfo(ComFailure& failure) {
  IErrorInfo* info = nullptr;
  if (GetErrorInfo(0, &info) != S_OK || info == nullptr) return;
  BSTR text = nullptr;
  if (SUCCEEDED(info->GetDescription(&text))) failure.description = TakeString(text);
  if (SUCCEEDED(info->GetSource(&text))) failure.source = TakeString(text);
  info->Release();
}

}  // namespace

ComFailure FailureOfInvoke(HRESULT result, EXCEPINFO& info) {
  ComFailure failure;
  failure.result = result;
  if (result == DISP_E_EXCEPTION) {
    if (info.pfnDeferredFillIn != nullptr) info.pfnDeferredFillIn(&info);
    if (info.scode != 0) failure.result = info.scode;
    failure.description = TakeString(info.bstrDescription);
    failure.source = TakeString(info.bstrSource);
    // The same failure is also published per thread; drop it so that it is
    // not mistaken for the cause of a later failure.
    ComFailure stale;
    TakeThreadErrorInfo(stale);
  } else {
    TakeThreadErrorInfo(failure);
  }
  SysFreeString(info.bstrHelpFile);
  info.bstrHelpFile = nullptr;
  return failure;
}

ComFailure FailureOf(HRESULT result) {
  ComFailure failure;
  failure.result = result;
  TakeThreadErrorInfo(failure);
  return failure;
}

void RegisterErrorTranslator() {
  py::register_exception_translator([](std::exception_ptr pending) {
    try {
      if (pending) std::rethrow_exception(pending);
    } catch (const ComFailure& failure) {
      py::object error_type = py::module_::import("vantrel._errors").attr("ComError");
      py::object error =
          error_type(static_cast<uint32_t>(failure.result),
                     StringFromBstr(failure.description.data(), failure.description.size()),
                     StringFromBstr(failure.source.data(), failure.source.size()));
      PyErr_SetObject(error_type.ptr(), error.ptr());
    }
  });
}

}  // namespace vantrel::python
