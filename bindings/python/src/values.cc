#include "values.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <new>

#include "dispatch_ref.h"

namespace vantrel::python {
namespace {

constexpr double kMillisecondsPerDay = 86400000.0;

// The datetime module's objects, kept for the life of the process (never
// destroyed, so that no Python object outlives the interpreter's teardown).
struct Calendar {
  py::object datetime_type;
  py::object date_type;
  py::object timedelta_type;
  py::object epoch;  // 1899-12-30 00:00, day 0 of the automation date
};

const Calendar& TheCalendar() {
  static const Calendar* calendar = [] {
    py::module_ datetime = py::module_::import("datetime");
    auto* made = new Calendar{datetime.attr("datetime"), datetime.attr("date"),
                              datetime.attr("timedelta"), py::none()};
    made->epoch = made->datetime_type(1899, 12, 30);
    return made;
  }();
  return *calendar;
}

py::object BytesFromArray(SAFEARRAY* array) {
  LONG low = 0, high = -1;
  SafeArrayGetLBound(array, 1, &low);
  SafeArrayGetUBound(array, 1, &high);
  const size_t size = high >= low ? static_cast<size_t>(high - low + 1) : 0;
  void* data = nullptr;
  if (FAILED(SafeArrayAccessData(array, &data))) throw py::type_error("unreadable byte array");
  py::bytes bytes(static_cast<const char*>(data), size);
  SafeArrayUnaccessData(array);
  return bytes;
}

py::object ListFromArray(SAFEARRAY* array, VARTYPE element_type) {
  LONG low = 0, high = -1;
  SafeArrayGetLBound(array, 1, &low);
  SafeArrayGetUBound(array, 1, &high);
  py::list items;
  for (LONG index = low; index <= high; ++index) {
    VARIANT element;
    VariantInit(&element);
    // Every element type but VARIANT fits the value union of a VARIANT.
    void* target = element_type == VT_VARIANT ? static_cast<void*>(&element)
                                              : static_cast<void*>(&element.llVal);
    if (FAILED(SafeArrayGetElement(array, &index, target)))
      throw py::type_error("unreadable array element");
    if (element_type != VT_VARIANT) element.vt = element_type;
    py::object item;
    try {
      item = ToPython(element);
    } catch (...) {
      VariantClear(&element);
      throw;
    }
    VariantClear(&element);
    items.append(item);
  }
  return items;
}

py::object FromArray(const VARIANT& value) {
  SAFEARRAY* array = value.parray;
  if (array == nullptr) return py::none();
  if (SafeArrayGetDim(array) != 1) throw py::type_error("arrays of more than one dimension");
  const VARTYPE element_type = value.vt & VT_TYPEMASK;
  if (element_type == VT_UI1) return BytesFromArray(array);
  return ListFromArray(array, element_type);
}

py::object FromObject(IUnknown* object, bool is_dispatch) {
  if (object == nullptr) return py::none();
  IDispatch* dispatch = nullptr;
  if (is_dispatch) {
    dispatch = static_cast<IDispatch*>(object);
    dispatch->AddRef();
  } else if (FAILED(object->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch)))) {
    throw py::type_error("an object without IDispatch");
  }
  return WrapDispatch(dispatch);
}

py::object FromScalar(const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
    case VT_NULL:
      return py::none();
    case VT_BOOL:
      return py::bool_(value.boolVal != VARIANT_FALSE);
    case VT_I1:
      return py::int_(static_cast<long>(value.cVal));
    case VT_UI1:
      return py::int_(static_cast<long>(value.bVal));
    case VT_I2:
      return py::int_(static_cast<long>(value.iVal));
    case VT_UI2:
      return py::int_(static_cast<long>(value.uiVal));
    case VT_I4:
      return py::int_(static_cast<long>(value.lVal));
    case VT_UI4:
      return py::int_(static_cast<unsigned long>(value.ulVal));
    case VT_INT:
      return py::int_(static_cast<long>(value.intVal));
    case VT_UINT:
      return py::int_(static_cast<unsigned long>(value.uintVal));
    case VT_I8:
      return py::int_(static_cast<long long>(value.llVal));
    case VT_UI8:
      return py::int_(static_cast<unsigned long long>(value.ullVal));
    case VT_ERROR:
      return py::int_(static_cast<uint32_t>(value.scode));
    case VT_R4:
      return py::float_(value.fltVal);
    case VT_R8:
      return py::float_(value.dblVal);
    case VT_CY:
      return py::float_(static_cast<double>(value.cyVal.int64) / 10000.0);
    case VT_DATE:
      return PythonFromDate(value.date);
    case VT_BSTR:
      return StringFromBstr(value.bstrVal);
    case VT_DISPATCH:
      return FromObject(value.pdispVal, true);
    case VT_UNKNOWN:
      return FromObject(value.punkVal, false);
    default:
      break;
  }
  VARIANT as_double;
  VariantInit(&as_double);
  if (SUCCEEDED(VariantChangeType(&as_double, &value, VARIANT_NOVALUEPROP, VT_R8)))
    return py::float_(as_double.dblVal);
  throw py::type_error("a value of variant type " + std::to_string(value.vt));
}

void PutInteger(py::handle value, VARIANT* out) {
  int overflow = 0;
  const long long number = PyLong_AsLongLongAndOverflow(value.ptr(), &overflow);
  if (overflow == 0) {
    if (number >= std::numeric_limits<LONG>::min() && number <= std::numeric_limits<LONG>::max()) {
      out->vt = VT_I4;
      out->lVal = static_cast<LONG>(number);
    } else {
      out->vt = VT_I8;
      out->llVal = number;
    }
    return;
  }
  const unsigned long long unsigned_number = PyLong_AsUnsignedLongLong(value.ptr());
  if (overflow < 0 || PyErr_Occurred()) {
    PyErr_Clear();
    throw py::value_error("an integer beyond 64 bits");
  }
  out->vt = VT_UI8;
  out->ullVal = unsigned_number;
}

void PutBytes(py::handle value, VARIANT* out) {
  py::buffer_info buffer = py::reinterpret_borrow<py::buffer>(value).request();
  const size_t size = static_cast<size_t>(buffer.size * buffer.itemsize);
  SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(size));
  if (array == nullptr) throw std::bad_alloc();
  void* data = nullptr;
  SafeArrayAccessData(array, &data);
  if (size) std::memcpy(data, buffer.ptr, size);
  SafeArrayUnaccessData(array);
  out->vt = VT_ARRAY | VT_UI1;
  out->parray = array;
}

void PutSequence(py::handle value, VARIANT* out) {
  py::sequence items = py::reinterpret_borrow<py::sequence>(value);
  SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(items.size()));
  if (array == nullptr) throw std::bad_alloc();
  try {
    for (LONG index = 0; index < static_cast<LONG>(items.size()); ++index) {
      VARIANT element;
      VariantInit(&element);
      FromPython(items[static_cast<size_t>(index)], &element);
      HRESULT result = SafeArrayPutElement(array, &index, &element);  // copies
      VariantClear(&element);
      if (FAILED(result)) throw std::bad_alloc();
    }
  } catch (...) {
    SafeArrayDestroy(array);
    throw;
  }
  out->vt = VT_ARRAY | VT_VARIANT;
  out->parray = array;
}

}  // namespace

py::str StringFromBstr(const OLECHAR* text, size_t length) {
  if (text == nullptr || length == 0) return py::str("");
  int byte_order = -1;  // little-endian, as char16_t is stored here
  PyObject* made =
      PyUnicode_DecodeUTF16(reinterpret_cast<const char*>(text),
                            static_cast<Py_ssize_t>(length * 2), "surrogatepass", &byte_order);
  if (made == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(made);
}

py::str StringFromBstr(BSTR text) { return StringFromBstr(text, SysStringLen(text)); }

BSTR BstrFromString(py::handle text) {
  PyObject* encoded = PyUnicode_AsEncodedString(text.ptr(), "utf-16-le", "surrogatepass");
  if (encoded == nullptr) throw py::error_already_set();
  py::bytes bytes = py::reinterpret_steal<py::bytes>(encoded);
  char* data = nullptr;
  Py_ssize_t size = 0;
  PyBytes_AsStringAndSize(bytes.ptr(), &data, &size);
  BSTR made =
      SysAllocStringLen(reinterpret_cast<const OLECHAR*>(data), static_cast<UINT>(size / 2));
  if (made == nullptr) throw std::bad_alloc();
  return made;
}

double DateFromPython(py::handle value) {
  const Calendar& calendar = TheCalendar();
  py::object moment = py::reinterpret_borrow<py::object>(value);
  if (!py::isinstance(moment, calendar.datetime_type))
    moment = calendar.datetime_type.attr("combine")(moment,
                                                    py::module_::import("datetime").attr("time")());
  // An aware time is turned into the local wall-clock time the date means.
  if (!moment.attr("tzinfo").is_none())
    moment = moment.attr("astimezone")().attr("replace")(py::arg("tzinfo") = py::none());
  py::object delta = moment - calendar.epoch;
  const long long days = delta.attr("days").cast<long long>();  // floored
  const long long milliseconds = delta.attr("seconds").cast<long long>() * 1000 +
                                 delta.attr("microseconds").cast<long long>() / 1000;
  const double fraction = static_cast<double>(milliseconds) / kMillisecondsPerDay;
  // Before the epoch the day counts down but the time of day still counts up:
  // 1899-12-29 06:00 is -1.25.
  return days >= 0 ? static_cast<double>(days) + fraction : static_cast<double>(days) - fraction;
}

py::object PythonFromDate(double date) {
  if (!std::isfinite(date) || std::fabs(date) > 2958466.0)
    throw py::value_error("an automation date out of range");
  const double whole = std::trunc(date);
  const double fraction = std::fabs(date - whole);
  const long long milliseconds =
      static_cast<long long>(whole) * 86400000LL + std::llround(fraction * kMillisecondsPerDay);
  const Calendar& calendar = TheCalendar();
  return calendar.epoch + calendar.timedelta_type(py::arg("milliseconds") = milliseconds);
}

py::object ToPython(const VARIANT& value) {
  if (value.vt & VT_BYREF) {
    VARIANT copy;
    VariantInit(&copy);
    if (FAILED(VariantCopyInd(&copy, &value))) throw py::type_error("unreadable reference");
    py::object result;
    try {
      result = ToPython(copy);
    } catch (...) {
      VariantClear(&copy);
      throw;
    }
    VariantClear(&copy);
    return result;
  }
  if (value.vt & VT_ARRAY) return FromArray(value);
  return FromScalar(value);
}

void FromPython(py::handle value, VARIANT* out) {
  VariantInit(out);
  const Calendar& calendar = TheCalendar();
  if (value.is_none()) return;
  if (PyBool_Check(value.ptr())) {
    out->vt = VT_BOOL;
    out->boolVal = value.ptr() == Py_True ? VARIANT_TRUE : VARIANT_FALSE;
  } else if (PyLong_Check(value.ptr())) {
    PutInteger(value, out);
  } else if (PyFloat_Check(value.ptr())) {
    out->vt = VT_R8;
    out->dblVal = PyFloat_AsDouble(value.ptr());
  } else if (PyUnicode_Check(value.ptr())) {
    out->bstrVal = BstrFromString(value);
    out->vt = VT_BSTR;
  } else if (py::isinstance(value, calendar.date_type)) {  // datetime is a date too
    out->date = DateFromPython(value);
    out->vt = VT_DATE;
  } else if (PyObject_CheckBuffer(value.ptr())) {
    PutBytes(value, out);
  } else if (PyList_Check(value.ptr()) || PyTuple_Check(value.ptr())) {
    PutSequence(value, out);
  } else if (IDispatch* object = DispatchOf(value)) {
    object->AddRef();
    out->vt = VT_DISPATCH;
    out->pdispVal = object;
  } else {
    throw py::type_error("cannot pass a " +
                         py::cast<std::string>(py::type::of(value).attr("__name__")) +
                         " to an automation object");
  }
}

}  // namespace vantrel::python
