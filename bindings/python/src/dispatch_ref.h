// DispatchRef: one counted reference to an automation object, and the calls
// the Python package makes through it. The Python wrappers (vantrel._objects)
// build attribute access, collections and help on top of it.
#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <mutex>

#include "automation_runtime.h"
#include "members.h"

namespace vantrel::python {

namespace py = pybind11;

class DispatchRef {
 public:
  // Takes over one reference of `object` (not null).
  explicit DispatchRef(IDispatch* object) : object_(object) {}
  DispatchRef(const DispatchRef&) = delete;
  DispatchRef& operator=(const DispatchRef&) = delete;
  // Releases the reference with the interpreter lock released, since the last
  // release runs the object's clean-up inside the library.
  ~DispatchRef();

  IDispatch* get() const { return object_; }

  // The interface description, read on first use; None when the object has
  // no type information. Interpreter lock held on entry.
  std::shared_ptr<const InterfaceInfo> Interface();

  // The DISPID of `name` through GetIDsOfNames. Raises ComError
  // (DISP_E_UNKNOWNNAME) for a name the object does not know.
  DISPID IdOfName(const std::string& name);

  // Calls member `dispid` with the dispatch flags `flags` (DISPATCH_*). `args`
  // are positional; `kwargs` name parameters as the type information does
  // (any case); parameters left out in between go as missing optionals. For a
  // property put the last positional argument is the value. Returns the
  // result converted to Python. Raises ComError for a failed call and
  // TypeError for arguments that do not convert or name no parameter. The
  // interpreter lock is released during the call.
  py::object Invoke(DISPID dispid, WORD flags, const py::tuple& args, const py::dict& kwargs);

  // An iterator over the object's _NewEnum enumerator. Raises ComError when
  // the object has none.
  py::object Enumerate();

  // The address of the object, for identity comparisons and test hooks.
  uintptr_t Address() const { return reinterpret_cast<uintptr_t>(object_); }

  // A new reference to the object at `address` (adds a reference).
  static std::unique_ptr<DispatchRef> FromAddress(uintptr_t address);

 private:
  // Invoke without the conversion of the result; `result` is filled (the
  // caller clears it) or, on failure, left empty.
  void InvokeRaw(DISPID dispid, WORD flags, const py::tuple& args, const py::dict& kwargs,
                 VARIANT* result);
  const MemberInfo* FindMember(DISPID dispid, WORD flags);

  IDispatch* const object_;
  std::once_flag described_;
  std::shared_ptr<const InterfaceInfo> interface_;
};

// Iterates an IEnumVARIANT one element at a time; owns one reference.
class EnumeratorRef {
 public:
  explicit EnumeratorRef(IEnumVARIANT* enumerator) : enumerator_(enumerator) {}
  EnumeratorRef(const EnumeratorRef&) = delete;
  EnumeratorRef& operator=(const EnumeratorRef&) = delete;
  ~EnumeratorRef();
  // The next element; raises StopIteration at the end and ComError on failure.
  py::object Next();

 private:
  IEnumVARIANT* const enumerator_;
};

// Registers DispatchRef and EnumeratorRef with the module.
void BindDispatchRef(py::module_& module);

// A Python DispatchRef taking over one reference of `object`; None for null.
py::object WrapDispatch(IDispatch* object);

// The IDispatch of a DispatchRef or of an object with a DispatchRef in its
// `_oleobj_`; null for anything else.
IDispatch* DispatchOf(py::handle value);

}  // namespace vantrel::python
