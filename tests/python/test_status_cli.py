"""Printer status end to end: a private scheduler's queue whose printer data
names the driver's interface and whose driver service is the simulated
printer; `vantrel status` and the Python package read it through the objects
a client uses, from the device while the service answers and from the
spooler once it is gone."""
import json
import os
import re
import subprocess

import pytest

import test_send_cli
from test_printer_sim import VANTREL, Simulator

QUEUE = "Kesto-Labels"
PRINTER_CLSID = "{9A95CD89-0B17-4598-BE2E-66F0DF4F307F}"
BUILD_PYTHON = os.path.join(os.path.dirname(os.path.dirname(VANTREL)), "python")

server = test_send_cli.server


class Setup:
    def __init__(self, server, folder):
        self.sim = Simulator()
        self.env = dict(os.environ, CUPS_SERVER=server, VANTREL_HOME=str(folder / "home"),
                        VANTREL_LOG_DIR=str(folder / "log"),
                        VANTREL_RUNTIME_DIR=str(folder / "run"), PYTHONPATH=BUILD_PYTHON)
        self.must("lpadmin", "-p", QUEUE, "-E", "-v", f"socket://127.0.0.1:{self.sim.raw}")

    def must(self, *args):
        done = subprocess.run(args, env=self.env, capture_output=True, text=True, timeout=60)
        assert done.returncode == 0, done.stderr
        return done.stdout

    def make_advanced(self):
        # Only the presence of the value counts; the driver's module is not loaded.
        self.must(VANTREL, "reg", "set", "DATA:Kesto Interface V3", "/opt/kesto/driver.so",
                  "--type", "sz", "--printer", QUEUE)
        self.must(VANTREL, "reg", "set", "DATA:XPML Server Port", str(self.sim.xpml), "--type",
                  "dword", "--printer", QUEUE)

    def status(self, *args):
        return subprocess.run([VANTREL, "status", *args], env=self.env, capture_output=True,
                              text=True, timeout=60)

    def status_json(self):
        done = self.status(QUEUE, "--json")
        assert done.returncode == 0, done.stderr
        return json.loads(done.stdout)


@pytest.fixture
def setup(server, tmp_path):
    s = Setup(server, tmp_path)
    yield s
    s.sim.stop()


def holding(report):
    return sorted(name for name, on in report["conditions"].items() if on)


def test_device_conditions_then_the_spooler_once_the_service_is_gone(setup):
    setup.must("lpadmin", "-p", QUEUE, "-o", "printer-state-reasons=media-empty")
    setup.sim.call("POST", "/state", {"status_flags": 0x20, "severity": 2,
                                      "status_text": "Ribbon Out"})
    # Without the driver's interface the service is never asked.
    report = setup.status_json()
    assert (report["source"], holding(report), report["text"]) == \
        ("spooler", ["PaperOut"], "Out of Paper")
    assert setup.sim.call("GET", "/state")["xpml_requests"] == 0

    setup.make_advanced()
    report = setup.status_json()
    assert (report["printer"], len(report["conditions"]), report["severity"]) == (QUEUE, 32, 2)
    assert (report["source"], holding(report), report["text"]) == \
        ("device", ["PaperOut", "RibbonOut"], "Ribbon Out, Out of Paper")
    assert setup.sim.call("GET", "/state")["xpml_requests"] == 2

    table = setup.status(QUEUE).stdout
    assert re.search(r"^Conditions:\s+PaperOut, RibbonOut$", table, re.M), table

    # The device stops reporting monitoring: the spooler answers alone.
    setup.sim.call("POST", "/state", {"monitoring": False})
    assert setup.status_json()["source"] == "spooler"

    setup.sim.call("POST", "/state", {"monitoring": True})
    assert setup.sim.stop() == 0
    report = setup.status_json()
    assert (report["source"], holding(report), report["severity"]) == \
        ("spooler", ["PaperOut"], 2)


def test_python_package_reads_the_same_and_tells_the_source(setup):
    setup.make_advanced()
    setup.sim.call("POST", "/state", {"status_flags": 0x10, "severity": 3,
                                      "status_text": "Ribbon Low"})
    script = f"""
import json, vantrel
printer = vantrel.Dispatch("{PRINTER_CLSID}")
printer.Initialize("{QUEUE}")
reading = vantrel.status_reading(printer.Status)
reading["RibbonLow"] = printer.Status.RibbonLow
reading["HasWarning"] = printer.Status.HasWarning
print(json.dumps(reading))
"""
    reading = json.loads(setup.must("/usr/bin/python3", "-c", script))
    assert reading == {"word1": 0, "word2": 0x40000010, "severity": 3, "text": "Ribbon Low",
                       "source": "device", "RibbonLow": True, "HasWarning": True}
