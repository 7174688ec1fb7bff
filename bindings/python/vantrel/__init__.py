"""vantrel: scripting access to the Vantrel automation objects.

    import vantrel
    kesto = vantrel.Dispatch("Vantrel.Kesto")
    print(kesto.Version)

Objects are reached late-bound through IDispatch and their type information,
so every member of every class is available with no per-class code.
"""
import enum as _enum

from . import _constants, _vantrel
from ._errors import STANDARD_RESULTS as _STANDARD_RESULTS, ComError
from ._events import EventConnection, WithEvents
from ._objects import AutomationObject, unwrap as _unwrap, wrap as _wrap

__all__ = ["Dispatch", "ComError", "WithEvents", "EventConnection", "AutomationObject",
           "PrinterCommand", "register", "unregister", "status_reading"]

PrinterCommand = _enum.IntEnum("PrinterCommand", _constants.PRINTER_COMMANDS, module=__name__)
PrinterCommand.__doc__ = "The printer commands of Printer.Command."

globals().update(_STANDARD_RESULTS)
globals().update({name: code for name, code, _ in _constants.LIBRARY_RESULTS})
#: Result code -> the library's own error text.
ERROR_TEXTS = {code: text for _, code, text in _constants.LIBRARY_RESULTS}


def Dispatch(progid_or_clsid):
    """A new automation object of the class a ProgID ("Vantrel.Printer") or a
    braced CLSID ("{9A95CD89-...}") names. Creation by ProgID needs the
    library registered (register()). Raises ComError when it fails."""
    return _wrap(_vantrel.create(progid_or_clsid))


def status_reading(status):
    """One whole reading of a printer's status (printer.Status) as a dict:
    "word1" (the spooler's status bits), "word2" (the driver's condition bits
    with the severity bits), "severity" (1 normal, 2 error, 3 warning), "text",
    and "source": "device" when the printer's driver service reported the
    conditions, "spooler" when they come from the spooler alone. Raises
    ComError when the reading fails (an uninitialized printer) and TypeError
    for an object that is not a PrinterStatus."""
    return _vantrel.status_reading(_unwrap(status))


def register():
    """Registers the library's classes (the settings store on Linux)."""
    _vantrel.register()


def unregister():
    """Removes what register() wrote."""
    _vantrel.unregister()
