"""`vantrel command` end to end, through the Printer and CommandParameters
objects: a private scheduler whose queue prints to the simulated printer, and
the sample driver module named in the queue's printer data. Driver commands
reach the simulator's XPML service; the test labels arrive at its raw port as
PDF jobs."""
import base64
import json
import os
import re
import subprocess
import tempfile
import time
import zlib

import pytest

from test_printer_sim import VANTREL, Simulator, Tool, poll_jobs
from test_send_cli import server  # noqa: F401 (a fixture)

BUILD = os.path.dirname(os.path.dirname(VANTREL))
MODULE = os.path.join(BUILD, "lib", "sample-driver.so")
QUEUE = "Dock-Labels"
ANSWERS = ("IsSupported", "HasUserInterface", "RequiresBidirectionalPort",
           "RequiresManagementRights")


class Setup:
    def __init__(self, server, folder):
        self.sim = Simulator()
        self.tool = Tool(folder)
        self.tool.env["CUPS_SERVER"] = server
        added = subprocess.run(["lpadmin", "-p", QUEUE, "-E", "-v",
                                f"socket://127.0.0.1:{self.sim.raw}", "-o",
                                "media-default=oe_4x6-label_4x6in"],
                               env=self.tool.env, capture_output=True, text=True, timeout=60)
        assert added.returncode == 0, added.stderr
        self.reg("DATA:Kesto Interface V3", MODULE, "sz")
        self.reg("DATA:XPML Server Port", self.sim.xpml, "dword")
        self.reg("SETTINGS:Action Flags/9", 0x33, "dword")  # Calibrate

    def reg(self, path, value, kind):
        done = self.tool.run("reg", "set", path, str(value), "--type", kind, "--printer", QUEUE)
        assert done.returncode == 0, done.stderr

    def command(self, *args):
        return self.tool.run("command", *args)

    def actions(self):
        return self.sim.call("GET", "/actions")["actions"]


@pytest.fixture
def setup(server, tmp_path):  # noqa: F811
    s = Setup(server, tmp_path)
    yield s
    assert s.sim.stop() == 0


def answers_of(done):
    assert done.returncode == 0, done.stderr
    report = json.loads(done.stdout)
    return report, tuple(report[name] for name in ANSWERS)


def test_an_executed_command_reaches_the_printer_and_a_query_does_not(setup):
    report, answers = answers_of(setup.command(QUEUE, "calibrate", "--query", "--json"))
    assert (report["printer"], report["command"], report["code"]) == (QUEUE, "Calibrate", 9)
    assert answers == (True, True, True, True) and report["executed"] is False
    report, answers = answers_of(setup.command(QUEUE, "PC_FEED", "--query", "--json"))
    assert answers == (True, False, False, False) and report["command"] == "Feed"
    time.sleep(0.2)
    assert setup.actions() == []

    done = setup.command(QUEUE, "3")
    assert done.returncode == 0, done.stderr
    assert re.search(r"^Command\s+Cut \(3\)$", done.stdout, re.M), done.stdout
    assert re.search(r"^IsSupported\s+yes$", done.stdout, re.M), done.stdout
    assert setup.actions() == [{"code": 3, "printer": QUEUE}]


def rectangles_in(pdf):
    """The number of filled rectangles in a PDF's compressed streams."""
    rectangles = 0
    for stream in re.finditer(rb"/Filter /FlateDecode[^>]*>>\s*stream\r?\n", pdf):
        end = pdf.index(b"endstream", stream.end())
        rectangles += len(re.findall(rb" re\b", zlib.decompress(pdf[stream.end():end])))
    return rectangles


def job_names(env):
    """The names of the scheduler's jobs, completed ones included."""
    with tempfile.NamedTemporaryFile("w", suffix=".test", delete=False) as test:
        test.write("{ OPERATION Get-Jobs\n GROUP operation-attributes-tag\n"
                   " ATTR charset attributes-charset utf-8\n"
                   " ATTR naturalLanguage attributes-natural-language en\n"
                   " ATTR uri printer-uri $uri\n ATTR keyword which-jobs all\n"
                   " ATTR keyword requested-attributes job-name\n}\n")
    try:
        done = subprocess.run(["ipptool", "-tv", f"ipp://{env['CUPS_SERVER']}/", test.name],
                              capture_output=True, text=True, timeout=60)
    finally:
        os.unlink(test.name)
    return re.findall(r"job-name \(nameWithoutLanguage\) = (.*)", done.stdout)


# The label's layout is checked on the fake spooler; here, that both labels
# reach the printer through the scheduler as PDF jobs named "Printer Test".
def test_test_labels_arrive_as_pdf_jobs_named_printer_test(setup):
    for command, rectangles in (("TestStandard", 21), ("testblank", 0)):
        report, answers = answers_of(setup.command(QUEUE, command, "--json"))
        assert answers == (True, False, False, False) and report["executed"] is True
        jobs = poll_jobs(setup.sim, 1 if rectangles else 2)
        pdf = base64.b64decode(jobs["jobs"][-1]["data"])
        assert pdf.startswith(b"%PDF-"), pdf[:16]
        assert rectangles_in(pdf) == rectangles, command
    assert job_names(setup.tool.env).count("Printer Test") == 2
    assert setup.actions() == [], "the driver was asked about a test label"


def test_unknown_commands_are_one_line_each(setup):
    done = setup.command(QUEUE, "Fly")
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr.count("\n") == 1
    assert done.stderr.startswith("vantrel: unknown command 'Fly'; valid: TestStandard, TestBlank, "
                                  "Cut, Feed,"), done.stderr
    assert "FormatMemoryFromKesto, or a code 1 to 30" in done.stderr
    for code in ("0", "31"):
        assert setup.command(QUEUE, code).returncode == 1
    assert setup.actions() == []
