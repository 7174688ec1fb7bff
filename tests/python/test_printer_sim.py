"""The simulated printer end to end: its raw port, and its XPML service
reached through `vantrel xpml`, which goes through the library's client with
the settings of a private store (VANTREL_HOME)."""
import base64
import http.client
import json
import os
import re
import signal
import socket
import struct
import subprocess
import threading
import time
import urllib.error
import urllib.request
import zlib

import pytest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
VANTREL = os.path.abspath(
    os.environ.get("VANTREL_BIN", os.path.join(ROOT, "build", "bin", "vantrel")))
# Beside the tool unless told otherwise: both come from one build.
PRINTER_SIM = os.path.abspath(
    os.environ.get("PRINTER_SIM_BIN", os.path.join(os.path.dirname(VANTREL), "printer-sim")))

PRINTER = "Label Printer 1"
FLAGS2_REQUEST = ("<state name='Monitoring Supported' action='get' />;<state name='Status Flags 2' "
                  "action='get' />;<state name='Status Severity' action='get' />&#00;")
SEVERITY_REQUEST = ("<state name='Monitoring Supported' action='get' />;"
                    "<state name='Status Severity' action='get' />&#00;")
FAILED_LINE = re.compile(r"^vantrel: Printer Query failed: .* \(0x80042106\)\n$")


class Simulator:
    """One printer-sim process on free ports; ends with the test."""

    def __init__(self, *options, env=None):
        assert os.path.exists(PRINTER_SIM), \
            f"build printer_sim or set PRINTER_SIM_BIN: {PRINTER_SIM}"
        self.process = subprocess.Popen(
            [PRINTER_SIM, "--raw-port", "0", "--xpml-port", "0", "--control-port", "0",
             "--exit-on-stdin-eof", *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, env=env)
        ports = self.process.stdout.readline()
        assert self.process.stdout.readline() == "ready\n"
        found = dict(re.findall(r"(\w+)=(\d+)", ports))
        self.raw, self.xpml, self.control = (int(found[k]) for k in ("raw", "xpml", "control"))
        self.local = int(found["local"]) if "local" in found else None

    def call(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(f"http://127.0.0.1:{self.control}{path}", data=data,
                                         method=method)
        with urllib.request.urlopen(request, timeout=10) as reply:
            return json.loads(reply.read())

    def stop(self, how="term"):
        if self.process.poll() is None:
            if how == "term":
                self.process.send_signal(signal.SIGTERM)
            else:
                self.process.stdin.close()
            self.process.wait(timeout=10)
        return self.process.returncode


class Tool:
    """`vantrel xpml` against its own settings store."""

    def __init__(self, folder):
        self.env = dict(os.environ, VANTREL_HOME=str(folder / "home"),
                        VANTREL_LOG_DIR=str(folder / "log"),
                        VANTREL_RUNTIME_DIR=str(folder / "run"))
        self.folder = folder

    def run(self, *args, stdin=None):
        assert os.path.exists(VANTREL), f"build the tool first or set VANTREL_BIN: {VANTREL}"
        return subprocess.run([VANTREL, *args], env=self.env, cwd=self.folder, input=stdin,
                              capture_output=True, text=True, timeout=60)

    def set_dword(self, path, value):
        done = self.run("reg", "set", path, str(value), "--type", "dword", "--printer", PRINTER)
        assert done.returncode == 0, done.stderr

    def point_at(self, port, retries=0, timeout_ms=500):
        # The stored port and the printer's own data value, whichever the
        # client takes on this system.
        self.set_dword("NETWORK:XPML Server Port", port)
        self.set_dword("DATA:XPML Server Port", port)
        self.set_dword("NETWORK:Connection Retries", retries)
        self.set_dword("NETWORK:Connection Timeout", timeout_ms)

    def xpml(self, text, *options, stdin=None):
        return self.run("xpml", PRINTER, text, *options, stdin=stdin)


@pytest.fixture
def sim():
    simulator = Simulator()
    yield simulator
    assert simulator.stop() == 0


@pytest.fixture
def tool(tmp_path, sim):
    t = Tool(tmp_path)
    t.point_at(sim.xpml)
    return t


def poll_jobs(sim, count):
    deadline = time.monotonic() + 10
    while True:
        jobs = sim.call("GET", "/jobs?data=1")
        if jobs["count"] >= count or time.monotonic() > deadline:
            return jobs
        time.sleep(0.02)


def test_raw_port_keeps_each_connection_as_one_job(tmp_path):
    sim = Simulator("--jobs-dir", str(tmp_path))
    payloads = [b"^XA^FO50,50^FDHello^FS^XZ", bytes(range(256)) * 300]
    for payload in payloads:
        with socket.create_connection(("127.0.0.1", sim.raw)) as connection:
            connection.sendall(payload[:100])
            time.sleep(0.05)  # a job that arrives in parts is still one job
            connection.sendall(payload[100:])
    socket.create_connection(("127.0.0.1", sim.raw)).close()  # a probe is no job
    jobs = poll_jobs(sim, 2)
    assert sim.stop() == 0
    assert [job["size"] for job in jobs["jobs"]] == [len(p) for p in payloads]
    assert [base64.b64decode(job["data"]) for job in jobs["jobs"]] == payloads
    assert sorted(os.listdir(tmp_path)) == ["job-0001.prn", "job-0002.prn"]
    assert (tmp_path / "job-0002.prn").read_bytes() == payloads[1]


def test_state_requests_round_trip_through_the_client(sim, tool):
    sim.call("POST", "/state", {"status_flags": 0x124, "severity": 3})
    done = tool.xpml(FLAGS2_REQUEST)
    assert done.returncode == 0, done.stderr
    fields = done.stdout.rstrip("\n").split(";")
    assert fields[0] != "0" and int(fields[1]) == 0x124 and int(fields[2]) == 3

    done = tool.xpml(SEVERITY_REQUEST, "--json")
    assert done.returncode == 0, done.stderr
    assert json.loads(done.stdout) == {"printer": PRINTER, "port": sim.xpml, "route": "tcp",
                                       "reply": "1;3"}

    sim.call("POST", "/state", {"monitoring": False})
    assert tool.xpml(SEVERITY_REQUEST).stdout.startswith("0")
    assert sim.call("GET", "/state")["xpml_requests"] == 3


def test_local_route_answers_while_the_tcp_route_is_off_and_goes_with_the_service(tmp_path):
    tool = Tool(tmp_path)
    sim = Simulator("--local-route", env=tool.env)
    try:
        tool.point_at(sim.xpml)
        done = tool.run("reg", "set", "NETWORK:TCP Enabled", "00", "--type", "binary",
                        "--printer", PRINTER)
        assert done.returncode == 0, done.stderr
        done = tool.xpml(SEVERITY_REQUEST, "--json")
        assert done.returncode == 0, done.stderr
        assert json.loads(done.stdout)["route"] == "local"
    finally:
        assert sim.stop() == 0
    # A stopped service withdraws its route: nothing answers now.
    done = tool.xpml(SEVERITY_REQUEST)
    assert done.returncode == 1 and FAILED_LINE.match(done.stderr), done.stderr


def test_queries_jobs_and_actions_through_the_client(sim, tool):
    sim.call("POST", "/state", {
        "query_rules": [{"pattern": "~HQES", "status": 2, "response": "PRINTER STATUS OK",
                         "pending_polls": 1}],
        "job_answers": {"12": {"status": "failed", "warningCount": 2}}})
    data = b"~HQES\r\n"
    packed = zlib.compress(data, 6)
    container = b"ZLIB" + struct.pack("<II", len(data), len(packed)) + packed
    query = ("<query id='t-1' name='Kesto Query'><request id='1' name='Kesto Request'>"
             "<encode in='base64;lz77'>" + base64.b64encode(container).decode() +
             "</encode></request></query>")
    assert tool.xpml("-", stdin=query).returncode == 0
    status = "<request query='t-1' id='1' get='status' />"
    assert [tool.xpml(status).stdout for _ in range(3)] == ["0\n", "2\n", "2\n"]
    assert tool.xpml("<request query='t-1' id='1' get='response' />").stdout == \
        "PRINTER STATUS OK\n"
    assert base64.b64decode(sim.call("GET", "/queries")["queries"][0]["data"]) == data

    job = tool.xpml("<job id='12' action='get' jobIdentity='true' jobStatus='true' />&#00;")
    assert 'status="failed"' in job.stdout and 'warningCount="2"' in job.stdout

    assert tool.xpml("<action code='3' />").returncode == 0
    assert sim.call("GET", "/actions")["actions"] == [{"code": 3, "printer": PRINTER}]


def test_faults_turn_into_one_failure_line_then_clear(sim, tool):
    for kind in ("drop", "bad_status_line", "short_body", "endless_header"):
        sim.call("POST", "/faults", {"kind": kind, "count": 1})
        done = tool.xpml(SEVERITY_REQUEST)
        assert done.returncode == 1, kind
        assert FAILED_LINE.match(done.stderr), (kind, done.stderr)
        assert done.stdout == ""
        assert tool.xpml(SEVERITY_REQUEST).stdout == "1;1\n", kind
    sim.call("POST", "/faults", {"delay_ms": 300, "count": 1})
    assert tool.xpml(SEVERITY_REQUEST).stdout == "1;1\n"  # slow, not failed
    # An unknown text is refused by the service, which the client reports as failure.
    assert tool.xpml("<unknown />").returncode == 1
    with pytest.raises(urllib.error.HTTPError) as refused:
        sim.call("POST", "/state", {"severity": "high"})
    assert refused.value.code == 400


def test_concurrent_clients_on_every_service(sim):
    """Kept XPML connections, control updates and raw jobs at once: every
    reply well formed, every job kept."""
    errors = []

    def xpml_client(n):
        connection = http.client.HTTPConnection("127.0.0.1", sim.xpml, timeout=10)
        for i in range(25):
            connection.request("POST", f"/xpml?persist=1&transactid={n}-{i}&share=0&printer=P",
                               body=SEVERITY_REQUEST)
            reply = connection.getresponse()
            body = reply.read().decode()
            if reply.status != 200 or reply.getheader("TID") != f"{n}-{i}" or \
                    not re.fullmatch(r"1;[23]", body):
                errors.append((reply.status, body))
        connection.close()

    def control_client():
        for i in range(25):
            sim.call("POST", "/state", {"severity": 2 + i % 2})
            sim.call("GET", "/state")

    def raw_client(n):
        for i in range(5):
            with socket.create_connection(("127.0.0.1", sim.raw)) as connection:
                connection.sendall(f"job {n}-{i}".encode())

    sim.call("POST", "/state", {"severity": 2})
    threads = [threading.Thread(target=xpml_client, args=(n,)) for n in range(4)]
    threads += [threading.Thread(target=raw_client, args=(n,)) for n in range(4)]
    threads.append(threading.Thread(target=control_client))
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert errors == []
    assert poll_jobs(sim, 20)["count"] == 20
    assert sim.call("GET", "/state")["xpml_requests"] == 100


@pytest.mark.parametrize("how", ["term", "stdin"])
def test_exchange_fails_within_the_attempts_once_the_simulator_is_gone(tmp_path, how):
    simulator = Simulator()
    tool = Tool(tmp_path)
    tool.point_at(simulator.xpml, retries=2, timeout_ms=200)
    assert tool.xpml(SEVERITY_REQUEST).returncode == 0
    assert simulator.stop(how) == 0
    done = tool.xpml(SEVERITY_REQUEST)
    assert done.returncode == 1
    assert FAILED_LINE.match(done.stderr), done.stderr
    assert str(simulator.xpml) in done.stderr
