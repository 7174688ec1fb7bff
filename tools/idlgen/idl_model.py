"""What the generator knows about an IDL file: the library, its interfaces,
members, parameters, enumerations and coclasses, and how each IDL type is
spelled in C++ and carried in a VARIANT."""
from dataclasses import dataclass, field


@dataclass(frozen=True)
class BaseType:
    """One IDL type without pointers: its C++ spelling (as widl writes it) and
    the VARIANT type that carries a value of it."""
    idl: str
    cpp: str
    vt: str
    kind: str  # 'value', 'variant', 'bytes', 'enum', 'interface'
    # The V_xxx accessor of the VARIANT field holding it ('' for VARIANT itself).
    accessor: str = ""
    interface_iid: str = ""  # the IID an interface pointer must answer


VALUE_TYPES = {
    "BSTR": BaseType("BSTR", "BSTR", "VT_BSTR", "value", "V_BSTR"),
    "VARIANT_BOOL": BaseType("VARIANT_BOOL", "VARIANT_BOOL", "VT_BOOL", "value", "V_BOOL"),
    "long": BaseType("long", "LONG", "VT_I4", "value", "V_I4"),
    "unsigned long": BaseType("unsigned long", "ULONG", "VT_UI4", "value", "V_UI4"),
    "int": BaseType("int", "int", "VT_INT", "value", "V_INT"),
    "unsigned int": BaseType("unsigned int", "unsigned int", "VT_UINT", "value", "V_UINT"),
    "short": BaseType("short", "short", "VT_I2", "value", "V_I2"),
    "unsigned short": BaseType("unsigned short", "unsigned short", "VT_UI2", "value", "V_UI2"),
    "unsigned char": BaseType("unsigned char", "unsigned char", "VT_UI1", "value", "V_UI1"),
    "double": BaseType("double", "double", "VT_R8", "value", "V_R8"),
    "float": BaseType("float", "float", "VT_R4", "value", "V_R4"),
    "DATE": BaseType("DATE", "DATE", "VT_DATE", "value", "V_DATE"),
    "VARIANT": BaseType("VARIANT", "VARIANT", "VT_VARIANT", "variant"),
    "SAFEARRAY(unsigned char)": BaseType("SAFEARRAY(unsigned char)", "SAFEARRAY*",
                                         "VT_ARRAY | VT_UI1", "bytes", "V_ARRAY"),
    "IUnknown": BaseType("IUnknown", "IUnknown", "VT_UNKNOWN", "interface", "V_UNKNOWN",
                         "IID_IUnknown"),
    "IDispatch": BaseType("IDispatch", "IDispatch", "VT_DISPATCH", "interface", "V_DISPATCH",
                          "IID_IDispatch"),
}


def enum_type(name):
    return BaseType(name, name, "VT_I4", "enum", "V_I4")


def library_interface_type(name):
    # Every interface of the library is dual, so it is carried as VT_DISPATCH.
    return BaseType(name, name, "VT_DISPATCH", "interface", "V_DISPATCH", f"IID_{name}")


@dataclass
class Param:
    name: str
    base: BaseType
    pointers: int
    is_in: bool
    is_out: bool
    is_retval: bool
    is_optional: bool
    line: int

    @property
    def cpp_type(self):
        return self.base.cpp + "*" * self.pointers

    @property
    def vt(self):
        """The VARIANT type of the argument: an output is a reference."""
        return f"VT_BYREF | {self.base.vt}" if self.is_out else self.base.vt

    @property
    def flags(self):
        names = [name for name, on in (("FIN", self.is_in), ("FOUT", self.is_out),
                                       ("FRETVAL", self.is_retval), ("FOPT", self.is_optional))
                 if on]
        return " | ".join(f"PARAMFLAG_{name}" for name in names) or "0"


@dataclass
class Member:
    name: str
    dispid: int
    kind: str  # 'method', 'propget', 'propput' or 'propputref'
    help: str
    restricted: bool
    hidden: bool
    params: list
    line: int

    @property
    def cpp_name(self):
        """The method name as widl declares it: get_X, put_X, putref_X or X."""
        prefix = {"method": "", "propget": "get_", "propput": "put_", "propputref": "putref_"}
        return prefix[self.kind] + self.name

    @property
    def invoke_kind(self):
        return {"method": "INVOKE_FUNC", "propget": "INVOKE_PROPERTYGET",
                "propput": "INVOKE_PROPERTYPUT", "propputref": "INVOKE_PROPERTYPUTREF"}[self.kind]

    @property
    def retval(self):
        return self.params[-1] if self.params and self.params[-1].is_retval else None

    @property
    def inputs(self):
        """The parameters a dispatch caller passes: all but the retval."""
        return [param for param in self.params if not param.is_retval]

    @property
    def func_flags(self):
        names = [name for name, on in (("FRESTRICTED", self.restricted),
                                       ("FHIDDEN", self.hidden)) if on]
        return " | ".join(f"FUNCFLAG_{name}" for name in names) or "0"


@dataclass
class Interface:
    name: str
    uuid: str
    dual: bool  # False: a dispinterface
    help: str
    members: list
    line: int

    @property
    def iid_name(self):
        return ("IID_" if self.dual else "DIID_") + self.name

    @property
    def short_name(self):
        """The name without its leading 'I' ("IPrinter" -> "Printer")."""
        return self.name[1:] if self.name.startswith("I") else self.name


@dataclass
class EnumValue:
    name: str
    text: str  # as written in the IDL
    value: int


@dataclass
class Enum:
    name: str
    values: list
    line: int


@dataclass
class Coclass:
    name: str
    uuid: str
    help: str
    creatable: bool
    default_interface: str  # '' when none
    source_interface: str  # '' when none
    line: int


@dataclass
class Library:
    name: str
    uuid: str
    major: int
    minor: int
    help: str


@dataclass
class Idl:
    path: str
    library: Library = None
    interfaces: list = field(default_factory=list)  # duals and dispinterfaces in IDL order
    enums: list = field(default_factory=list)
    coclasses: list = field(default_factory=list)

    @property
    def duals(self):
        return [interface for interface in self.interfaces if interface.dual]

    @property
    def dispinterfaces(self):
        return [interface for interface in self.interfaces if not interface.dual]
