"""vantrel.WithEvents: the object's events delivered to a handler's On... methods."""
import sys
import traceback

from . import _vantrel
from ._objects import wrap


def _deliver(handler, name, args):
    """Calls handler.<name>(*args) on the library's thread, the interpreter lock
    taken by the sink. A failing handler is reported on stderr and the event
    source carries on."""
    method = getattr(handler, name, None)
    if method is None:
        return
    try:
        method(*(wrap(arg) for arg in args))
    except Exception:  # a handler's failure must not reach the library
        sys.stderr.write(f"vantrel: exception in event handler {name}:\n")
        traceback.print_exc()


class _Deliver:
    """The callable the sink holds: the handler and nothing else, so that the
    sink keeps no connection (and no cycle) alive."""

    __slots__ = ("handler",)

    def __init__(self, handler):
        self.handler = handler

    def __call__(self, name, args):
        _deliver(self.handler, name, args)


class EventConnection:
    """A handler connected to an object's events; close() disconnects it and
    lets go of the handler. Closing twice is harmless; it is also closed when
    garbage-collected and at the end of a with block."""

    def __init__(self, obj, handler):
        self._connection = _vantrel.connect(obj, _Deliver(handler))

    @property
    def connected(self):
        return self._connection is not None and self._connection.open

    def close(self):
        connection, self._connection = self._connection, None
        if connection is not None:
            connection.close()

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        try:
            self.close()
        except Exception:
            pass


def WithEvents(obj, handler):
    """Connects the On... methods of `handler` to the events of `obj`.

    Events arrive on the library's threads with the interpreter lock taken;
    an event the handler has no method for is ignored. Keep the returned
    connection: it disconnects when closed or collected. Raises ComError when
    `obj` has no events."""
    return EventConnection(obj, handler)
