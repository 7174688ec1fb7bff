"""Python classes for automation objects, made from their type information.

Each interface gets one class, made on first use: properties become data
descriptors, methods and properties with parameters become functions, each
with the help string of the type information as its documentation, so that
dir() and help() list them. Names match in any case, as they do for other
automation clients. An object without type information is reached by name.
"""
import inspect
import threading

from . import _vantrel

DISPATCH_METHOD = 0x1
DISPATCH_PROPERTYGET = 0x2
DISPATCH_PROPERTYPUT = 0x4
DISPATCH_PROPERTYPUTREF = 0x8
INVOKE_FUNC, INVOKE_PROPERTYGET, INVOKE_PROPERTYPUT, INVOKE_PROPERTYPUTREF = 1, 2, 4, 8
FUNCFLAG_FRESTRICTED = 0x1
DISPID_VALUE = 0

_VARIANT_TYPE_NAMES = {
    0: "None", 2: "int", 3: "int", 4: "float", 5: "float", 7: "datetime", 8: "str",
    9: "object", 11: "bool", 12: "value", 13: "object", 17: "int", 19: "int", 20: "int",
    21: "int", 22: "int", 23: "int", 24: "None", 25: "None", 0x2011: "bytes",
}


def _type_name(vt):
    return _VARIANT_TYPE_NAMES.get(vt, "value")


def wrap(value):
    """Wraps the DispatchRefs in a converted value (also inside lists)."""
    if isinstance(value, _vantrel.DispatchRef):
        return _class_for(value)(value)
    if isinstance(value, list):
        return [wrap(item) for item in value]
    return value


class AutomationObject:
    """An automation object reached through IDispatch."""

    __slots__ = ("_oleobj_",)
    _members_ = {}     # lower-case name -> canonical name, per class
    _item_dispid_ = DISPID_VALUE

    def __init__(self, reference):
        object.__setattr__(self, "_oleobj_", reference)

    def _invoke_(self, dispid, flags, args=(), kwargs=None):
        return wrap(self._oleobj_.invoke(dispid, flags, tuple(unwrap(a) for a in args),
                                         {k: unwrap(v) for k, v in (kwargs or {}).items()}))

    def __getattr__(self, name):
        canonical = type(self)._members_.get(name.lower())
        if canonical is not None and canonical != name:
            return getattr(self, canonical)
        if name.startswith("_") or type(self)._members_:
            raise AttributeError(f"{type(self).__name__} has no member {name!r}")
        return self._late_bound_(name)

    def __setattr__(self, name, value):
        canonical = type(self)._members_.get(name.lower())
        if canonical is not None:
            object.__setattr__(self, canonical, value)
        elif not type(self)._members_ and not name.startswith("_"):
            dispid = self._oleobj_.id_of_name(name)
            self._invoke_(dispid, DISPATCH_PROPERTYPUT, (value,))
        else:
            raise AttributeError(f"{type(self).__name__} has no member {name!r}")

    def _late_bound_(self, name):
        """A callable for a member found by name only (no type information)."""
        dispid = self._oleobj_.id_of_name(name)

        def call(*args, **kwargs):
            return self._invoke_(dispid, DISPATCH_METHOD | DISPATCH_PROPERTYGET, args, kwargs)
        call.__name__ = name
        return call

    # Collections: Item, Count and _NewEnum, under any of their usual forms.
    def __getitem__(self, key):
        return self._invoke_(type(self)._item_dispid_, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                             (key,))

    def __len__(self):
        return int(self.Count)

    def __iter__(self):
        for value in self._oleobj_.enumerate():
            yield wrap(value)

    def __eq__(self, other):
        return isinstance(other, AutomationObject) and \
            self._oleobj_.address == other._oleobj_.address

    def __hash__(self):
        return hash(self._oleobj_.address)

    def __repr__(self):
        return f"<vantrel.{type(self).__name__} object at 0x{self._oleobj_.address:x}>"


def unwrap(value):
    if isinstance(value, AutomationObject):
        return value._oleobj_
    if isinstance(value, (list, tuple)):
        return [unwrap(item) for item in value]
    return value


def _signature(parameters):
    made = [inspect.Parameter("self", inspect.Parameter.POSITIONAL_ONLY)]
    for name, optional, _ in parameters:
        made.append(inspect.Parameter(
            name, inspect.Parameter.POSITIONAL_OR_KEYWORD,
            default=None if optional else inspect.Parameter.empty))
    return inspect.Signature(made)


def _parameter_text(parameters):
    return ", ".join(f"[{name}]" if optional else name for name, optional, _ in parameters)


def _make_method(name, dispid, flags, parameters, result_type, help_text):
    def method(self, *args, **kwargs):
        return self._invoke_(dispid, flags, args, kwargs)
    method.__name__ = name
    method.__qualname__ = name
    method.__doc__ = f"{name}({_parameter_text(parameters)}) -> {_type_name(result_type)}" + \
        (f"\n\n{help_text}" if help_text else "")
    method.__signature__ = _signature(parameters)
    return method


def _make_property(name, get, put, putref, help_text):
    def fget(self):
        if get is None:
            raise AttributeError(f"{name} can only be set")
        return self._invoke_(get[0], DISPATCH_PROPERTYGET)

    def fset(self, value):
        # An object goes by reference when the property has that form.
        target = putref if (putref is not None and isinstance(value, AutomationObject)) \
            or put is None else put
        flags = DISPATCH_PROPERTYPUTREF if target is putref else DISPATCH_PROPERTYPUT
        self._invoke_(target[0], flags, (value,))

    kind = "read/write" if get and (put or putref) else ("read-only" if get else "write-only")
    result = _type_name(get[2]) if get else "value"
    doc = f"{name} ({result}, {kind})" + (f": {help_text}" if help_text else "")
    return property(fget, fset if (put or putref) else None, doc=doc)


def _build_namespace(members):
    """Class attributes for the members: [(name, dispid, kind, vt, flags, help, params)]."""
    by_name = {}
    for name, dispid, kind, vt, flags, help_text, params in members:
        if flags & FUNCFLAG_FRESTRICTED and name != "_NewEnum":
            continue
        entry = by_name.setdefault(name, {"help": help_text})
        entry[kind] = (dispid, params, vt)
        entry["help"] = entry["help"] or help_text
    namespace = {"__slots__": (), "_members_": {}}
    for name, entry in by_name.items():
        get = entry.get(INVOKE_PROPERTYGET)
        put = entry.get(INVOKE_PROPERTYPUT)
        putref = entry.get(INVOKE_PROPERTYPUTREF)
        func = entry.get(INVOKE_FUNC)
        if name == "_NewEnum":
            continue  # reached through iter()
        if func is not None:
            dispid, params, vt = func
            namespace[name] = _make_method(name, dispid, DISPATCH_METHOD, params, vt,
                                           entry["help"])
        elif get is not None and get[1]:
            # A property with parameters (Item(index)) reads as a call.
            dispid, params, vt = get
            namespace[name] = _make_method(name, dispid, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                                           params, vt, entry["help"])
        else:
            namespace[name] = _make_property(name, get, put, putref, entry["help"])
        namespace["_members_"][name.lower()] = name
        if name.lower() == "item":
            namespace["_item_dispid_"] = (func or get)[0]
    return namespace


_classes = {}
_classes_lock = threading.Lock()


def _class_for(reference):
    description = reference.interface()
    if description is None:
        return AutomationObject
    name, iid, help_text, members = description
    with _classes_lock:
        made = _classes.get(iid)
    if made is not None:
        return made
    namespace = _build_namespace(members)
    namespace["__doc__"] = f"{name} {iid}" + (f"\n\n{help_text}" if help_text else "")
    namespace["__module__"] = "vantrel"
    made = type(name, (AutomationObject,), namespace)
    with _classes_lock:
        return _classes.setdefault(iid, made)
