#include "server/printers.h"

#include <algorithm>

#include "frame/class_table.h"
#include "frame/enumerator.h"
#include "frame/ole_string.h"
#include "printers/printer.h"

namespace vantrel {
namespace {

bool IsIntegerTag(VARTYPE type) {
  return type == VT_I2 || type == VT_I4 || type == VT_I8 || type == VT_INT;
}

std::string NameOf(IPrinter* printer) {
  frame::Bstr name;
  if (FAILED(printer->get_Name(name.receive()))) return {};
  return frame::BstrToUtf8(name.get());
}

// The IPrinter of a DISPATCH argument, or null.
frame::ComPtr<IPrinter> PrinterOf(const VARIANT& argument) {
  frame::ComPtr<IPrinter> printer;
  if (V_VT(&argument) == VT_DISPATCH && V_DISPATCH(&argument) != nullptr)
    V_DISPATCH(&argument)->QueryInterface(IID_IPrinter,
                                          reinterpret_cast<void**>(printer.Receive()));
  return printer;
}

}  // namespace

Printers::Elements Printers::Snapshot() {
  OLock hold(critical_section());
  return elements_;
}

size_t Printers::FindByName(const Elements& elements, const std::string& name) {
  for (size_t i = 0; i < elements.size(); ++i) {
    if (NameOf(elements[i].Get()) == name) return i;
  }
  return std::string::npos;
}

void Printers::Append(IPrinter* printer) {
  OLock hold(critical_section());
  elements_.emplace_back(printer);
}

STDMETHODIMP Printers::get__NewEnum(IUnknown** retEnum) {
  return Member("Printers::get__NewEnum", [&] {
    if (retEnum == nullptr) frame::Throw(frame::kInvalidArgument);
    *retEnum = nullptr;
    const Elements elements = Snapshot();
    std::vector<VARIANT> items(elements.size());
    for (size_t i = 0; i < elements.size(); ++i) {
      VariantInit(&items[i]);
      V_VT(&items[i]) = VT_DISPATCH;
      V_DISPATCH(&items[i]) = elements[i].Get();  // the enumerator adds its own reference
    }
    IEnumVARIANT* enumerator = nullptr;
    const HRESULT hr = frame::CreateVariantEnumerator(items, &enumerator);
    if (hr == E_OUTOFMEMORY) throw std::bad_alloc();
    if (FAILED(hr)) frame::ThrowCreationFailure(hr);
    *retEnum = enumerator;
  });
}

STDMETHODIMP Printers::get_Item(VARIANT Index, IPrinter** retItem) {
  return Member("Printers::get_Item", [&] {
    if (retItem == nullptr) frame::Throw(frame::kInvalidArgument);
    *retItem = nullptr;
    const Elements elements = Snapshot();
    size_t position = std::string::npos;
    if (IsIntegerTag(V_VT(&Index))) {
      VARIANT index;
      VariantInit(&index);
      if (FAILED(VariantChangeType(&index, &Index, 0, VT_I4)) || V_I4(&index) < 1 ||
          static_cast<size_t>(V_I4(&index)) > elements.size())
        frame::Throw(frame::kInvalidArgument);
      position = static_cast<size_t>(V_I4(&index)) - 1;
    } else if (V_VT(&Index) == VT_BSTR) {
      position = FindByName(elements, frame::BstrToUtf8(V_BSTR(&Index)));
      if (position == std::string::npos) frame::Throw(frame::kPrinterNotRecognized);
    } else {
      frame::Throw(frame::kInvalidArgument);
    }
    *retItem = frame::ComPtr<IPrinter>(elements[position]).Detach();
  });
}

STDMETHODIMP Printers::get_Count(LONG* retCount) {
  return Member("Printers::get_Count", [&] {
    if (retCount == nullptr) frame::Throw(frame::kInvalidArgument);
    OLock hold(critical_section());
    *retCount = static_cast<LONG>(elements_.size());
  });
}

STDMETHODIMP Printers::Create(IPrinter** retPrinter) {
  return Member("Printers::Create", [&] {
    if (retPrinter == nullptr) frame::Throw(frame::kInvalidArgument);
    *retPrinter = frame::CreateObject<Printer>();
  });
}

STDMETHODIMP Printers::Add(VARIANT argPrinter) {
  HRESULT initialize_result = S_OK;
  const HRESULT hr = Member("Printers::Add", [&] {
    if (V_VT(&argPrinter) == VT_BSTR && SysStringLen(V_BSTR(&argPrinter)) > 0) {
      const auto printer = frame::ComPtr<IPrinter>::Adopt(frame::CreateObject<Printer>());
      // Initialize reports its own failure; it is passed on as it is.
      initialize_result = printer->Initialize(V_BSTR(&argPrinter));
      if (SUCCEEDED(initialize_result)) Append(printer.Get());
      return;
    }
    const auto printer = PrinterOf(argPrinter);
    if (!printer) frame::Throw(frame::kInvalidArgument);
    Append(printer.Get());
  });
  return FAILED(hr) ? hr : initialize_result;
}

STDMETHODIMP Printers::Remove(VARIANT argPrinter) {
  HRESULT not_found = S_OK;
  const HRESULT hr = Member("Printers::Remove", [&] {
    std::string name;
    if (V_VT(&argPrinter) == VT_BSTR) {
      name = frame::BstrToUtf8(V_BSTR(&argPrinter));
    } else if (const auto printer = PrinterOf(argPrinter)) {
      name = NameOf(printer.Get());
    } else {
      frame::Throw(frame::kInvalidArgument);
    }
    const Elements elements = Snapshot();
    const size_t position = FindByName(elements, name);
    // An unknown name fails with no text for the client.
    if (position == std::string::npos || !Erase(elements[position].Get())) not_found = E_INVALIDARG;
  });
  return FAILED(hr) ? hr : not_found;
}

bool Printers::Erase(IPrinter* printer) {
  frame::ComPtr<IPrinter> removed;  // released after the lock, outside it
  OLock hold(critical_section());
  // By identity: the names were read without the lock, so positions may
  // have moved since.
  const auto found =
      std::find_if(elements_.begin(), elements_.end(),
                   [printer](const auto& element) { return element.Get() == printer; });
  if (found == elements_.end()) return false;
  removed = std::move(*found);
  elements_.erase(found);
  return true;
}

STDMETHODIMP Printers::RemoveAll() {
  return Member("Printers::RemoveAll", [&] {
    Elements released;
    {
      OLock hold(critical_section());
      released.swap(elements_);
    }
  });
}

VANTREL_CLASS_CREATOR(Printers)

}  // namespace vantrel
