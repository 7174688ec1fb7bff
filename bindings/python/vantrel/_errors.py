"""vantrel.ComError and the standard automation result codes."""

# Result codes of the automation runtime that scripts meet most often.
STANDARD_RESULTS = {
    "S_OK": 0x00000000,
    "S_FALSE": 0x00000001,
    "E_NOTIMPL": 0x80004001,
    "E_NOINTERFACE": 0x80004002,
    "E_POINTER": 0x80004003,
    "E_FAIL": 0x80004005,
    "E_UNEXPECTED": 0x8000FFFF,
    "E_ACCESSDENIED": 0x80070005,
    "E_OUTOFMEMORY": 0x8007000E,
    "E_INVALIDARG": 0x80070057,
    "CLASS_E_CLASSNOTAVAILABLE": 0x80040111,
    "REGDB_E_CLASSNOTREG": 0x80040154,
    "CO_E_CLASSSTRING": 0x800401F3,
    "CONNECT_E_NOCONNECTION": 0x80040200,
    "CONNECT_E_CANNOTCONNECT": 0x80040202,
    "DISP_E_MEMBERNOTFOUND": 0x80020003,
    "DISP_E_PARAMNOTFOUND": 0x80020004,
    "DISP_E_TYPEMISMATCH": 0x80020005,
    "DISP_E_UNKNOWNNAME": 0x80020006,
    "DISP_E_EXCEPTION": 0x80020009,
    "DISP_E_OVERFLOW": 0x8002000A,
    "DISP_E_BADINDEX": 0x8002000B,
    "DISP_E_BADPARAMCOUNT": 0x8002000E,
    "DISP_E_PARAMNOTOPTIONAL": 0x8002000F,
    "DISP_E_NOTACOLLECTION": 0x80020011,
}

_NAMES = {}


def result_name(hresult):
    """The constant name of a result code, or None when it has none."""
    if not _NAMES:
        from . import _constants
        _NAMES.update({code: name for name, code in STANDARD_RESULTS.items()})
        _NAMES.update({code: name for name, code, _ in _constants.LIBRARY_RESULTS})
    return _NAMES.get(hresult)


class ComError(Exception):
    """A failed call into an automation object.

    hresult      the result code as an unsigned 32-bit number (0x80042000)
    description  the object's error text ("" when it gave none)
    source       the ProgID of the object that failed ("" when unknown)
    """

    def __init__(self, hresult, description="", source=""):
        super().__init__(hresult, description, source)
        self.hresult = hresult & 0xFFFFFFFF
        self.description = description or ""
        self.source = source or ""

    def __str__(self):
        name = result_name(self.hresult)
        text = f"0x{self.hresult:08X}"
        if name:
            text += f" ({name})"
        if self.description:
            text += f": {self.description}"
        if self.source:
            text += f" [{self.source}]"
        return text


ComError.__module__ = "vantrel"
