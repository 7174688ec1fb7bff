"""Ten threads calling shared objects at once, with events being delivered."""
import gc
import os
import tempfile
import threading
import time

os.environ.setdefault("VANTREL_HOME", tempfile.mkdtemp(prefix="vantrel-py-"))

import pytest  # noqa: E402

import vantrel  # noqa: E402
from vantrel import _vantrel  # noqa: E402

SECONDS = float(os.environ.get("VANTREL_STRESS_SECONDS", "10"))
THREADS = 10


def test_ten_threads_share_objects_without_crash_leak_or_wrong_values():
    hooks = pytest.importorskip("_vantrel_test_hooks")
    gc.collect()
    assert _vantrel.can_unload_now()
    kesto = vantrel.Dispatch("{EAC071C3-2CC4-4201-9B5D-76E209673C10}")
    version = kesto.Version
    printers = vantrel.Dispatch("{2B65002B-B379-4DFB-B220-8C5808392084}")
    members = [printers.Create() for _ in range(3)]
    for member in members:
        printers.Add(member)
    shared_query = vantrel.Dispatch("{C6C1BA13-9B23-4763-9C3B-3ABBEDF63A17}")
    written = {bytes([n, 255 - n]) for n in range(THREADS)}
    source = vantrel.Dispatch("{9A95CD89-0B17-4598-BE2E-66F0DF4F307F}")
    events = []

    class Handler:
        def OnPrinterFieldChanged(self, printer, change):
            events.append(change)

    failures = []
    deadline = time.monotonic() + SECONDS

    def work(n):
        own = vantrel.Dispatch("{C6C1BA13-9B23-4763-9C3B-3ABBEDF63A17}")
        mine = bytes([n, 255 - n])
        rounds = 0
        try:
            while time.monotonic() < deadline:
                own.Binary = mine + bytes([rounds & 0xFF])
                assert own.Hexadecimal == (mine + bytes([rounds & 0xFF])).hex().upper()
                shared_query.Binary = mine
                assert shared_query.Binary in written  # whole, never torn
                assert kesto.Version == version
                assert len(printers) == 3 and list(printers) == members
                assert printers[1 + rounds % 3] == members[rounds % 3]
                with pytest.raises(vantrel.ComError):
                    members[0].Name
                rounds += 1
        except BaseException as failure:  # reported by the main thread
            failures.append((n, rounds, failure))

    with vantrel.WithEvents(source, Handler()):
        firing = hooks.fire(source._oleobj_.address, 8, [("object", source._oleobj_.address), 7],
                            times=2000)
        threads = [threading.Thread(target=work, args=(n,)) for n in range(THREADS)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        assert firing.join() == 2000
    assert failures == []
    assert events == [7] * 2000
    del kesto, printers, members, member, shared_query, source, firing
    gc.collect()
    assert _vantrel.can_unload_now()
