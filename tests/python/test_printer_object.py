"""The Printer object through the Python package against a private scheduler:
its properties round trip to CUPS, its driver's version and date for a raw
queue, a PPD queue and a vendor driver's module, SendFile, and what clients
and the tool are told when the scheduler is not running.

The object model runs in a child interpreter per case, so that the scheduler's
address (read once per process) is this module's own."""
import base64
import datetime
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import textwrap

import pytest

from test_printer_sim import VANTREL, Simulator, poll_jobs

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SANDBOX = os.path.join(ROOT, "scripts", "cups-sandbox")
MODULE = os.path.join(os.path.dirname(os.path.dirname(VANTREL)), "lib", "sample-driver.so")
PPD = """*PPD-Adobe: "4.3"
*FormatVersion: "4.3"
*FileVersion: "2.5"
*LanguageVersion: English
*LanguageEncoding: ISOLatin1
*PCFileName: "LABELS.PPD"
*Manufacturer: "Test"
*Product: "(Label Printer)"
*ModelName: "Test Label Printer"
*ShortNickName: "Test Label Printer"
*NickName: "Test Label Printer 2.5"
*PSVersion: "(3010.000) 0"
*LanguageLevel: "3"
*ColorDevice: False
*DefaultColorSpace: Gray
*FileSystem: False
*Throughput: "1"
*cupsVersion: 2.4
*cupsFilter: "application/vnd.cups-raw 0 -"
*OpenUI *PageSize/Media Size: PickOne
*OrderDependency: 10 AnySetup *PageSize
*DefaultPageSize: w144h72
*PageSize w144h72/2x1in: "<</PageSize[144 72]>>setpagedevice"
*CloseUI: *PageSize
*DefaultImageableArea: w144h72
*ImageableArea w144h72/2x1in: "0 0 144 72"
*DefaultPaperDimension: w144h72
*PaperDimension w144h72/2x1in: "144 72"
"""


class Scheduler:
    """A private cupsd in a folder of its own; the environment that reaches it."""

    def __init__(self):
        # Not under pytest's private folder: backends run as another user.
        self.folder = tempfile.mkdtemp(prefix="vantrel-printer-cups-")
        os.chmod(self.folder, 0o755)
        started = subprocess.run([SANDBOX, "start", self.folder], capture_output=True, text=True,
                                 timeout=60)
        assert started.returncode == 0, started.stderr
        self.address = re.search(r"CUPS_SERVER=([^\s;]+)", started.stdout).group(1)
        self.env = dict(os.environ, CUPS_SERVER=self.address,
                        VANTREL_HOME=os.path.join(self.folder, "home"),
                        VANTREL_LOG_DIR=os.path.join(self.folder, "log"),
                        VANTREL_RUNTIME_DIR=os.path.join(self.folder, "run"))

    def tool(self, *args, check=True):
        done = subprocess.run(args, env=self.env, capture_output=True, text=True, timeout=60)
        assert not check or done.returncode == 0, done.stderr
        return done

    def clients(self, body):
        """Runs `body` in a child interpreter with `vantrel` imported and
        registered (HEADER); its printed JSON is the answer."""
        script = HEADER + textwrap.dedent(body)
        done = subprocess.run([sys.executable, "-c", script], env=self.env, capture_output=True,
                              text=True, timeout=120)
        assert done.returncode == 0, done.stderr
        return json.loads(done.stdout)

    def stop(self):
        subprocess.run([SANDBOX, "stop", self.folder], capture_output=True, timeout=60)

    def remove(self):
        self.stop()
        shutil.rmtree(self.folder, ignore_errors=True)


@pytest.fixture(scope="module")
def scheduler():
    server = Scheduler()
    sim = Simulator()
    ppd = os.path.join(server.folder, "labels.ppd")
    with open(ppd, "w") as out:
        out.write(PPD)
    server.tool("lpadmin", "-p", "Raw", "-E", "-v", f"socket://127.0.0.1:{sim.raw}",
                "-D", "Dock labels", "-L", "Dock")
    server.tool("lpadmin", "-p", "Described", "-E", "-v", "file:///dev/null", "-P", ppd)
    server.tool("lpadmin", "-p", "Vendor", "-E", "-v", "file:///dev/null")
    server.tool(VANTREL, "reg", "set", "DATA:Kesto Interface V3", MODULE, "--type", "sz",
                "--printer", "Vendor")
    yield server, sim
    assert sim.stop() == 0
    server.remove()


# What every child interpreter starts with: the package, registered, and
# failure(call), the [result, text] of a call that fails (None when it does not).
HEADER = """import json, vantrel
vantrel.register()

def failure(call):
    try:
        call()
    except vantrel.ComError as e:
        return [e.hresult & 0xFFFFFFFF, e.description]
    return None
"""


def test_properties_round_trip_to_the_scheduler(scheduler):
    server, _ = scheduler
    seen = server.clients("""
        printer = vantrel.Dispatch("Vantrel.Printer")
        printer.Initialize("Raw")
        printer.Comment = "Front desk"
        printer.Location = "Hall 2"
        printer.Shared = True
        refused = {
            "share": failure(lambda: setattr(printer, "ShareName", "a,b")),
            "port": failure(lambda: setattr(printer, "PortName", "nowhere:/x")),
            "open": failure(lambda: vantrel.Dispatch("Vantrel.Printer").Initialize("Nope")),
        }
        other = vantrel.Dispatch("Vantrel.Printer")  # reads what the first one wrote
        other.Initialize("Raw")
        print(json.dumps({
            "name": other.Name, "comment": other.Comment, "location": other.Location,
            "share": other.ShareName, "shared": other.Shared, "local": other.Local,
            "network": other.Network, "model": other.ModelName, "port": other.PortName,
            "server": other.ServerName, "refused": refused}))
    """)
    assert seen["name"] == "Raw" and seen["server"] == ""
    assert (seen["comment"], seen["location"]) == ("Front desk", "Hall 2")
    assert (seen["share"], seen["shared"]) == ("Raw", True)  # shared under its own name
    assert (seen["local"], seen["network"]) == (True, False)
    assert seen["model"] == "Local Raw Printer"
    assert seen["port"].startswith("socket://127.0.0.1:")
    assert seen["refused"] == {"share": [0x80042104, "Invalid printer share name"],
                               "port": [0x80042103, "Invalid port"],
                               "open": [0x80042003, "Could not open printer"]}
    described = server.tool("lpstat", "-l", "-p", "Raw").stdout
    assert "Description: Front desk" in described and "Location: Hall 2" in described


def test_driver_version_and_date_by_kind_of_driver(scheduler):
    server, _ = scheduler
    seen = server.clients("""
        facts = {}
        for name in ("Raw", "Described", "Vendor"):
            printer = vantrel.Dispatch("Vantrel.Printer")
            printer.Initialize(name)
            facts[name] = [printer.DriverVersion, printer.DriverDate, printer.ModelName]
        print(json.dumps(facts))
    """)
    today = {datetime.date.today().isoformat(),
             (datetime.date.today() - datetime.timedelta(days=1)).isoformat()}
    # A raw queue: the library's own file.
    assert re.fullmatch(r"\d+\.\d+\.\d+\.\d+", seen["Raw"][0])
    assert re.fullmatch(r"\d{4}-\d{2}-\d{2}", seen["Raw"][1])
    # A PPD queue: the PPD's *FileVersion and the day the scheduler took it.
    assert seen["Described"][0] == "2.5.0.0"
    assert seen["Described"][1] in today
    assert seen["Described"][2] == "Test Label Printer 2.5"
    # A vendor driver: its interface module's version table and build date.
    assert seen["Vendor"][:2] == ["7.2.3.0", "2026-11-20"]

    shown = json.loads(server.tool(VANTREL, "printer", "Vendor", "--json").stdout)
    assert (shown["Interface"], shown["DriverVersion"]) == ("advanced", "7.2.3.0")
    table = server.tool(VANTREL, "printer", "Described").stdout
    assert "Model:       Test Label Printer 2.5" in table
    assert re.search(r"Driver: +2\.5\.0\.0, \d{4}-\d{2}-\d{2} \(basic interface\)", table), table


def test_send_file_arrives_unchanged_or_fails_with_the_files_error(scheduler, tmp_path):
    server, sim = scheduler
    payload = bytes(range(256)) * 64
    (tmp_path / "batch.prn").write_bytes(payload)
    tmp_path.chmod(0o755)
    seen = server.clients(f"""
        printer = vantrel.Dispatch("Vantrel.Printer")
        printer.Initialize("Raw")
        printer.SendFile({str(tmp_path / "batch.prn")!r}, "")
        print(json.dumps(failure(lambda: printer.SendFile({str(tmp_path / "gone.prn")!r}, ""))))
    """)
    assert seen[0] == 0x80070002
    assert "gone.prn" in seen[1] and "No such file or directory" in seen[1]
    jobs = poll_jobs(sim, 1)
    assert jobs["count"] == 1  # the missing file sent nothing
    assert base64.b64decode(jobs["jobs"][0]["data"]) == payload


def test_a_stopped_scheduler_is_named_with_its_address():
    server = Scheduler()
    try:
        server.tool("lpadmin", "-p", "Raw", "-E", "-v", "file:///dev/null")
        server.stop()
        listed = server.tool(VANTREL, "printers", check=False)
        assert listed.returncode == 1
        assert listed.stderr == (f"vantrel: cannot list the printers: the print scheduler at "
                                 f"{server.address} is not running (0x800706BA)\n")
        shown = server.tool(VANTREL, "printer", "Raw", check=False)
        assert shown.stderr == (f"vantrel: cannot show printer 'Raw': Could not open printer: the "
                                f"print scheduler at {server.address} is not running "
                                f"(0x80042003)\n")
        seen = server.clients("""
            servers = vantrel.Dispatch("Vantrel.Printer")
            print(json.dumps(failure(lambda: servers.Initialize("Raw"))))
        """)
        assert seen == [0x80042003, "Could not open printer"]
    finally:
        server.remove()
