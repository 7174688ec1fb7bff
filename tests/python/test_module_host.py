"""The Linux module host end to end: this test plays the library's side of the
proxy pipe (a Unix socket in the caller's private folder), starts
`vantrel-rundll` on the sample driver's Kesto_Proxy, and checks that calls
arrive, answers come back and actions reach the simulated printer."""
import os
import socket
import struct
import subprocess

from test_printer_sim import VANTREL, Simulator, Tool

BUILD = os.path.dirname(os.path.dirname(VANTREL))
HOST = os.path.join(BUILD, "bin", "vantrel-rundll")
MODULE = os.path.join(BUILD, "lib", "sample-driver.so")
PIPE = "\\\\.\\pipe\\Marlock-DriverDLLProxy-0123456789ABCDEF"


def text_item(text):
    units = text.encode("utf-16-le")
    return struct.pack("<H", (len(units) // 2) & 0xFFFF) + units


def number_item(value):
    return struct.pack("<Q", value)


class HostSession:
    """The server end of one pipe and the host serving it."""

    def __init__(self, tool):
        folder = tool.folder / "run" / f"vantrel-pipes-{os.getuid()}"
        folder.mkdir(parents=True, mode=0o700)
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(folder / PIPE[-16:]))
        self.listener.listen(1)
        self.host = subprocess.Popen([HOST, f"{MODULE},Kesto_Proxy", PIPE], env=tool.env,
                                     stderr=subprocess.PIPE, text=True)
        self.listener.settimeout(10)
        self.pipe, _ = self.listener.accept()
        self.pipe.settimeout(10)

    def call(self, entry, *arguments):
        self.pipe.sendall(text_item(entry))
        for argument in arguments:
            self.pipe.sendall(text_item(argument) if isinstance(argument, str)
                              else number_item(argument))
        reply = b""
        while len(reply) < 8:
            part = self.pipe.recv(8 - len(reply))
            assert part, "the host closed the pipe"
            reply += part
        return struct.unpack("<Q", reply)[0]

    def close(self):
        self.pipe.close()
        self.listener.close()
        return self.host.wait(timeout=10)


def test_calls_through_the_host_reach_the_module_and_the_printer(tmp_path):
    sim = Simulator()
    tool = Tool(tmp_path)
    tool.run("reg", "set", "DATA:XPML Server Port", str(sim.xpml), "--type", "dword",
             "--printer", "Dock 3")
    session = HostSession(tool)
    handle = session.call("Kesto_Printer_Open", "Dock 3")
    assert handle != 0
    assert session.call("Kesto_Printer_ActionFlag", handle, 4) == 1
    assert session.call("Kesto_Printer_Action", handle, 4) == 1
    assert session.call("Kesto_Printer_ActionUI", handle, 0x10, 0xFFFFFFFFFFFFFFFF) == 0
    assert session.call("Kesto_Printer_Close", handle) == 1
    assert session.close() == 0, session.host.stderr.read()
    assert sim.call("GET", "/actions")["actions"] == [{"code": 4, "printer": "Dock 3"}]
    assert sim.stop() == 0


def test_a_call_the_host_cannot_read_ends_the_session(tmp_path):
    session = HostSession(Tool(tmp_path))
    session.pipe.sendall(text_item("Kesto_Format_Disk") + number_item(1))
    try:
        assert session.pipe.recv(8) == b""
    except ConnectionResetError:
        pass  # it closed with our bytes unread
    assert session.close() == 0


def test_a_bad_target_is_one_line_and_a_failure(tmp_path):
    for target, reason in [("no-comma", "expected MODULE,ENTRY"),
                           (f"{tmp_path}/missing.so,Kesto_Proxy", "cannot load"),
                           (f"{MODULE},Kesto_Nothing", "has no entry Kesto_Nothing")]:
        done = subprocess.run([HOST, target], capture_output=True, text=True, timeout=30)
        assert done.returncode == 1
        assert done.stderr.count("\n") == 1 and reason in done.stderr, done.stderr
