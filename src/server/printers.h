// An ordered collection of Printer objects, counted from 1, that a client
// fills itself or PrintServer.EnumeratePrinters fills.
#pragma once

#include <vector>

#include "frame/automation.h"
#include "frame/com_ptr.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

class Printers : public frame::AutomationObject<IPrintersStubs, IID_IPrinters, CLSID_Printers> {
 public:
  STDMETHODIMP get__NewEnum(IUnknown** retEnum) override;
  STDMETHODIMP get_Item(VARIANT Index, IPrinter** retItem) override;
  STDMETHODIMP get_Count(LONG* retCount) override;
  STDMETHODIMP Create(IPrinter** retPrinter) override;
  STDMETHODIMP Add(VARIANT argPrinter) override;
  STDMETHODIMP Remove(VARIANT argPrinter) override;
  STDMETHODIMP RemoveAll() override;

  // Appends a printer (one more reference is taken). For the library's own
  // use, e.g. filling the collection from the spooler. Any thread.
  void Append(IPrinter* printer);

 private:
  using Elements = std::vector<frame::ComPtr<IPrinter>>;
  // A copy of the elements, taken under the lock; printers are asked for
  // their names only outside it, since an element may be a client's object.
  Elements Snapshot();
  // The position of the first element named `name`, or npos.
  static size_t FindByName(const Elements& elements, const std::string& name);
  // Takes the first element that is `printer` itself out of the collection;
  // false when another thread took it first.
  bool Erase(IPrinter* printer);

  Elements elements_ GUARDED_BY(critical_section());
};

}  // namespace vantrel
