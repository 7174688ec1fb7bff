"""Event delivery from library threads to Python handlers."""
import gc
import os
import tempfile
import threading
import weakref

os.environ.setdefault("VANTREL_HOME", tempfile.mkdtemp(prefix="vantrel-py-"))

import pytest  # noqa: E402

import vantrel  # noqa: E402
from vantrel import _vantrel  # noqa: E402

# Test-only extension: fires at an object's connected sinks on its own threads.
hooks = pytest.importorskip("_vantrel_test_hooks")

PRINTER_CLSID = "{9A95CD89-0B17-4598-BE2E-66F0DF4F307F}"
QUERY_COMMAND_CLSID = "{C6C1BA13-9B23-4763-9C3B-3ABBEDF63A17}"
ON_NAME_CHANGED, ON_DELETED, ON_FIELD_CHANGED = 1, 7, 8


class Recorder:
    def __init__(self):
        self.calls = []
        self.threads = set()

    def OnPrinterNameChanged(self, printer, old, new):
        self.calls.append(("name", printer, old, new))
        self.threads.add(threading.get_ident())

    def OnPrinterFieldChanged(self, printer, change):
        self.calls.append(("field", change))


def address(obj):
    return obj._oleobj_.address


def this(printer):
    return ("object", address(printer))


@pytest.fixture
def printer():
    return vantrel.Dispatch(PRINTER_CLSID)


def test_events_reach_the_handler_on_the_firing_thread(printer):
    recorder = Recorder()
    with vantrel.WithEvents(printer, recorder) as connection:
        assert connection.connected
        assert hooks.fire(address(printer), ON_NAME_CHANGED, [this(printer), "old", "new"]).join() == 1
        assert hooks.fire(address(printer), ON_FIELD_CHANGED, [this(printer), 42]).join() == 1
        # An event the handler has no method for is ignored.
        assert hooks.fire(address(printer), ON_DELETED, [this(printer), "x"]).join() == 1
    assert not connection.connected
    kind, source, old, new = recorder.calls[0]
    assert (kind, old, new) == ("name", "old", "new")
    assert source == printer and type(source).__name__ == "IPrinter"
    assert recorder.calls[1] == ("field", 42)
    assert threading.get_ident() not in recorder.threads
    # Closed: the sink is gone from the object.
    assert hooks.fire(address(printer), ON_NAME_CHANGED, [this(printer), "a", "b"]).join() == 0


def test_a_failing_handler_is_reported_and_delivery_goes_on(printer, capfd):
    calls = []

    class Failing:
        def OnPrinterNameChanged(self, printer, old, new):
            calls.append(new)
            raise RuntimeError("handler broke on " + new)

    second = Recorder()
    with vantrel.WithEvents(printer, Failing()), vantrel.WithEvents(printer, second):
        assert hooks.fire(address(printer), ON_NAME_CHANGED, [this(printer), "a", "b"],
                          times=3).join() == 6
    assert calls == ["b", "b", "b"]
    assert len(second.calls) == 3
    assert "handler broke on b" in capfd.readouterr().err


def test_an_event_arrives_while_the_main_thread_is_blocked_in_a_call(printer):
    recorder = Recorder()
    with vantrel.WithEvents(printer, recorder):
        # A call that returns only after a library thread delivered an event:
        # it deadlocks unless the call lets go of the interpreter lock.
        blocker_address = hooks.blocking_call(address(printer), ON_NAME_CHANGED,
                                              [this(printer), "before", "after"])
        blocker = vantrel.AutomationObject(_vantrel.DispatchRef.from_address(blocker_address))
        hooks.release(blocker_address)
        assert blocker.Wait() == 1
    assert [call[3] for call in recorder.calls] == ["after"]


def test_closing_lets_go_of_the_handler_and_the_object():
    gc.collect()
    assert _vantrel.can_unload_now()
    printer = vantrel.Dispatch(PRINTER_CLSID)
    handler = Recorder()
    watch = weakref.ref(handler)
    connection = vantrel.WithEvents(printer, handler)
    del handler
    assert watch() is not None  # connected: the sink holds it
    connection.close()
    connection.close()  # harmless
    assert watch() is None
    del printer
    assert _vantrel.can_unload_now()


def test_a_dropped_connection_disconnects(printer):
    recorder = Recorder()
    vantrel.WithEvents(printer, recorder)  # not kept
    assert hooks.fire(address(printer), ON_NAME_CHANGED, [this(printer), "a", "b"]).join() == 0
    assert recorder.calls == []


def test_a_handler_may_close_its_own_connection_during_an_event(printer):
    seen = []

    class OneShot:
        def OnPrinterNameChanged(self, printer, old, new):
            seen.append(new)
            connection.close()

    connection = vantrel.WithEvents(printer, OneShot())
    assert hooks.fire(address(printer), ON_NAME_CHANGED, [this(printer), "a", "b"],
                      times=3).join() == 1
    assert seen == ["b"]


def test_objects_without_events_are_refused():
    with pytest.raises(vantrel.ComError) as failure:
        vantrel.WithEvents(vantrel.Dispatch(QUERY_COMMAND_CLSID), Recorder())
    assert failure.value.hresult == vantrel.E_NOINTERFACE
