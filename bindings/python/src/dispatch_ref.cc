#include "dispatch_ref.h"

#include <algorithm>
#include <vector>

#include "com_error.h"
#include "values.h"

namespace vantrel::python {
namespace {

// The argument VARIANTs of one call, cleared however the call ends.
class ArgumentList {
 public:
  ~ArgumentList() {
    for (VARIANT& value : values_) VariantClear(&value);
  }
  VARIANT& Append() {
    values_.emplace_back();
    VariantInit(&values_.back());
    return values_.back();
  }
  VARIANT& At(size_t index) { return values_[index]; }
  size_t size() const { return values_.size(); }
  // The arguments reversed in place, as DISPPARAMS lists them.
  VARIANT* Reversed() {
    std::reverse(values_.begin(), values_.end());
    return values_.data();
  }

 private:
  std::vector<VARIANT> values_;
};

void MarkMissing(VARIANT& value) {
  value.vt = VT_ERROR;
  value.scode = DISP_E_PARAMNOTFOUND;
}

size_t ParameterIndex(const MemberInfo& member, const std::string& name) {
  for (size_t i = 0; i < member.parameters.size(); ++i)
    if (SameName(member.parameters[i].name, name)) return i;
  throw py::type_error(member.name + "() has no parameter '" + name + "'");
}

// Positional arguments first, then the keyword ones at the positions their
// names give; gaps are missing optionals.
void FillArguments(const MemberInfo* member, const py::tuple& args, const py::dict& kwargs,
                   ArgumentList& list) {
  for (py::handle arg : args) FromPython(arg, &list.Append());
  if (kwargs.empty()) return;
  if (member == nullptr) throw py::type_error("this member takes no keyword arguments");
  for (auto item : kwargs) {
    const size_t index = ParameterIndex(*member, py::cast<std::string>(item.first));
    while (list.size() <= index) MarkMissing(list.Append());
    VARIANT& slot = list.At(index);
    if (index < args.size() || slot.vt != VT_ERROR || slot.scode != DISP_E_PARAMNOTFOUND)
      throw py::type_error(member->name + "() got multiple values for '" +
                           member->parameters[index].name + "'");
    FromPython(item.second, &slot);
  }
}

INVOKEKIND KindOf(WORD flags) {
  if (flags & DISPATCH_PROPERTYPUTREF) return INVOKE_PROPERTYPUTREF;
  if (flags & DISPATCH_PROPERTYPUT) return INVOKE_PROPERTYPUT;
  if (flags & DISPATCH_METHOD) return INVOKE_FUNC;
  return INVOKE_PROPERTYGET;
}

}  // namespace

DispatchRef::~DispatchRef() {
  py::gil_scoped_release unlocked;
  object_->Release();
}

std::shared_ptr<const InterfaceInfo> DispatchRef::Interface() {
  py::gil_scoped_release unlocked;
  std::call_once(described_, [this] { interface_ = DescribeInterface(object_); });
  return interface_;
}

const MemberInfo* DispatchRef::FindMember(DISPID dispid, WORD flags) {
  std::shared_ptr<const InterfaceInfo> info = Interface();
  if (!info) return nullptr;
  const INVOKEKIND wanted = KindOf(flags);
  const MemberInfo* any = nullptr;
  for (const MemberInfo& member : info->members) {
    if (member.dispid != dispid) continue;
    if (member.kind == wanted) return &member;
    if (any == nullptr) any = &member;
  }
  return any;  // the interface outlives the call: it is cached for the process
}

DISPID DispatchRef::IdOfName(const std::string& name) {
  std::u16string wide;
  {
    BSTR text = BstrFromString(py::str(name));
    wide.assign(text, SysStringLen(text));
    SysFreeString(text);
  }
  LPOLESTR names[1] = {wide.data()};
  DISPID id = DISPID_UNKNOWN;
  HRESULT result;
  {
    py::gil_scoped_release unlocked;
    result = object_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
  }
  if (FAILED(result)) throw FailureOf(result);
  return id;
}

py::object DispatchRef::Invoke(DISPID dispid, WORD flags, const py::tuple& args,
                               const py::dict& kwargs) {
  VARIANT result;
  InvokeRaw(dispid, flags, args, kwargs, &result);
  py::object value;
  try {
    value = ToPython(result);
  } catch (...) {
    VariantClear(&result);
    throw;
  }
  VariantClear(&result);
  return value;
}

void DispatchRef::InvokeRaw(DISPID dispid, WORD flags, const py::tuple& args,
                            const py::dict& kwargs, VARIANT* result) {
  const MemberInfo* member = FindMember(dispid, flags);
  ArgumentList list;
  FillArguments(member, args, kwargs, list);
  DISPID put_id = DISPID_PROPERTYPUT;
  const bool put = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  DISPPARAMS params{};
  params.cArgs = static_cast<UINT>(list.size());
  params.rgvarg = list.size() ? list.Reversed() : nullptr;
  if (put) {
    params.cNamedArgs = 1;
    params.rgdispidNamedArgs = &put_id;
  }
  VariantInit(result);
  EXCEPINFO info{};
  UINT arg_error = 0;
  HRESULT outcome;
  {
    py::gil_scoped_release unlocked;
    outcome = object_->Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, flags, &params,
                              put ? nullptr : result, &info, &arg_error);
  }
  if (FAILED(outcome)) {
    VariantClear(result);
    throw FailureOfInvoke(outcome, info);
  }
}

py::object DispatchRef::Enumerate() {
  VARIANT source;
  InvokeRaw(DISPID_NEWENUM, DISPATCH_METHOD | DISPATCH_PROPERTYGET, py::tuple(), py::dict(),
            &source);
  IUnknown* object =
      (source.vt == VT_UNKNOWN || source.vt == VT_DISPATCH) ? source.punkVal : nullptr;
  IEnumVARIANT* enumerator = nullptr;
  HRESULT result = DISP_E_NOTACOLLECTION;
  {
    py::gil_scoped_release unlocked;
    if (object != nullptr)
      result = object->QueryInterface(IID_IEnumVARIANT, reinterpret_cast<void**>(&enumerator));
    VariantClear(&source);
  }
  if (FAILED(result)) throw FailureOf(result);
  return py::cast(new EnumeratorRef(enumerator), py::return_value_policy::take_ownership);
}

std::unique_ptr<DispatchRef> DispatchRef::FromAddress(uintptr_t address) {
  if (address == 0) throw py::value_error("null object address");
  auto* object = reinterpret_cast<IDispatch*>(address);
  object->AddRef();
  return std::make_unique<DispatchRef>(object);
}

EnumeratorRef::~EnumeratorRef() {
  py::gil_scoped_release unlocked;
  enumerator_->Release();
}

py::object EnumeratorRef::Next() {
  VARIANT element;
  VariantInit(&element);
  ULONG fetched = 0;
  HRESULT result;
  {
    py::gil_scoped_release unlocked;
    result = enumerator_->Next(1, &element, &fetched);
  }
  if (FAILED(result)) throw FailureOf(result);
  if (result != S_OK || fetched == 0) {
    VariantClear(&element);
    throw py::stop_iteration();
  }
  py::object value;
  try {
    value = ToPython(element);
  } catch (...) {
    VariantClear(&element);
    throw;
  }
  VariantClear(&element);
  return value;
}

py::object WrapDispatch(IDispatch* object) {
  if (object == nullptr) return py::none();
  return py::cast(new DispatchRef(object), py::return_value_policy::take_ownership);
}

IDispatch* DispatchOf(py::handle value) {
  if (value.is_none()) return nullptr;
  if (py::isinstance<DispatchRef>(value)) return value.cast<DispatchRef&>().get();
  if (!py::hasattr(value, "_oleobj_")) return nullptr;
  py::object inner = value.attr("_oleobj_");
  if (py::isinstance<DispatchRef>(inner)) return inner.cast<DispatchRef&>().get();
  return nullptr;
}

void BindDispatchRef(py::module_& module) {
  py::class_<DispatchRef>(module, "DispatchRef")
      .def("invoke", &DispatchRef::Invoke, py::arg("dispid"), py::arg("flags"),
           py::arg("args") = py::tuple(), py::arg("kwargs") = py::dict())
      .def("id_of_name", &DispatchRef::IdOfName)
      .def("enumerate", &DispatchRef::Enumerate)
      .def_property_readonly("address", &DispatchRef::Address)
      .def_static("from_address", &DispatchRef::FromAddress)
      .def("interface", [](DispatchRef& self) -> py::object {
        std::shared_ptr<const InterfaceInfo> info = self.Interface();
        if (!info) return py::none();
        py::list members;
        for (const MemberInfo& member : info->members) {
          py::list parameters;
          for (const ParameterInfo& parameter : member.parameters)
            parameters.append(py::make_tuple(parameter.name, parameter.optional, parameter.type));
          members.append(py::make_tuple(member.name, member.dispid, static_cast<int>(member.kind),
                                        member.result_type, member.flags, member.help, parameters));
        }
        return py::make_tuple(info->name, info->iid, info->help, members);
      });
  py::class_<EnumeratorRef>(module, "EnumeratorRef")
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", &EnumeratorRef::Next);
}

}  // namespace vantrel::python
