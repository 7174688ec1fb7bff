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
import subprocess
import sys
import textwrap

import pytest

from test_printer_sim import VANTREL, Simulator, poll_jobs
from test_send_cli import server  # noqa: F401 (a fixture)

MODULE = os.path.join(os.path.dirname(os.path.dirname(VANTREL)), "lib", "sample-driver.so")
PPD = """*PPD-Adobe: "4.3"
*FileVersion: "2.5"
*ModelName: "Test Label Printer"
*NickName: "Test Label Printer 2.5"
*cupsFilter: "application/vnd.cups-raw 0 -"
"""
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


def run(env, *args, check=True):
    done = subprocess.run(args, env=env, capture_output=True, text=True, timeout=120)
    assert not check or done.returncode == 0, done.stderr
    return done


def clients(env, body):
    """Runs `body` after HEADER in a child interpreter; its printed JSON."""
    return json.loads(run(env, sys.executable, "-c", HEADER + textwrap.dedent(body)).stdout)


@pytest.fixture
def printers(server, tmp_path):  # noqa: F811
    sim = Simulator()
    env = dict(os.environ, CUPS_SERVER=server, VANTREL_HOME=str(tmp_path / "home"),
               VANTREL_LOG_DIR=str(tmp_path / "log"), VANTREL_RUNTIME_DIR=str(tmp_path / "run"))
    (tmp_path / "labels.ppd").write_text(PPD)
    run(env, "lpadmin", "-p", "Raw", "-E", "-v", f"socket://127.0.0.1:{sim.raw}")
    run(env, "lpadmin", "-p", "Described", "-E", "-v", "file:///dev/null", "-P",
        str(tmp_path / "labels.ppd"))
    run(env, "lpadmin", "-p", "Vendor", "-E", "-v", "file:///dev/null")
    run(env, VANTREL, "reg", "set", "DATA:Kesto Interface V3", MODULE, "--type", "sz",
        "--printer", "Vendor")
    yield env, sim
    assert sim.stop() == 0


def test_properties_and_driver_facts_round_trip_to_the_scheduler(printers):
    env, _ = printers
    seen = clients(env, """
        printer = vantrel.Dispatch("Vantrel.Printer")
        printer.Initialize("Raw")
        printer.Comment = "Front desk"
        printer.Location = "Hall 2"
        printer.Shared = True
        other = vantrel.Dispatch("Vantrel.Printer")  # reads what the first one wrote
        other.Initialize("Raw")
        seen = {"Raw": [other.Name, other.Comment, other.Location, other.ShareName, other.Shared,
                        other.Local, other.Network, other.PortName, other.ServerName]}
        for name in ("Raw", "Described", "Vendor"):
            printer = vantrel.Dispatch("Vantrel.Printer")
            printer.Initialize(name)
            seen[name + " driver"] = [printer.DriverVersion, printer.DriverDate, printer.ModelName]
        print(json.dumps(seen))
    """)
    assert seen["Raw"][:-2] == ["Raw", "Front desk", "Hall 2", "Raw", True, True, False]
    assert seen["Raw"][-2].startswith("socket://127.0.0.1:") and seen["Raw"][-1] == ""
    described = run(env, "lpstat", "-l", "-p", "Raw").stdout
    assert "Description: Front desk" in described and "Location: Hall 2" in described

    today = {datetime.date.today().isoformat(),
             (datetime.date.today() - datetime.timedelta(days=1)).isoformat()}
    # A raw queue: the library's own file.
    version, date, model = seen["Raw driver"]
    assert re.fullmatch(r"\d+\.\d+\.\d+\.\d+", version) and model == "Local Raw Printer"
    assert re.fullmatch(r"\d{4}-\d{2}-\d{2}", date)
    # A PPD queue: the PPD's *FileVersion and the day the scheduler took it.
    version, date, model = seen["Described driver"]
    assert (version, model) == ("2.5.0.0", "Test Label Printer 2.5") and date in today
    # A vendor driver: its interface module's version table and build date.
    assert seen["Vendor driver"][:2] == ["7.2.3.0", "2026-11-20"]
    shown = json.loads(run(env, VANTREL, "printer", "Vendor", "--json").stdout)
    assert (shown["Interface"], shown["DriverVersion"]) == ("advanced", "7.2.3.0")
    table = run(env, VANTREL, "printer", "Described").stdout
    assert re.search(r"Driver: +2\.5\.0\.0, \d{4}-\d{2}-\d{2} \(basic interface\)", table), table


def test_send_file_arrives_unchanged(printers, tmp_path):
    env, sim = printers
    payload = bytes(range(256)) * 64
    (tmp_path / "batch.prn").write_bytes(payload)
    tmp_path.chmod(0o755)
    clients(env, f"""
        printer = vantrel.Dispatch("Vantrel.Printer")
        printer.Initialize("Raw")
        printer.SendFile({str(tmp_path / "batch.prn")!r}, "")
        print("null")
    """)
    jobs = poll_jobs(sim, 1)
    assert jobs["count"] == 1
    assert base64.b64decode(jobs["jobs"][0]["data"]) == payload


def test_a_scheduler_that_is_not_running_is_named_with_its_address(tmp_path):
    address = "127.0.0.1:1"
    env = dict(os.environ, CUPS_SERVER=address, VANTREL_HOME=str(tmp_path / "home"),
               VANTREL_LOG_DIR=str(tmp_path / "log"), VANTREL_RUNTIME_DIR=str(tmp_path / "run"))
    listed = run(env, VANTREL, "printers", check=False)
    assert (listed.returncode, listed.stdout) == (1, "")
    assert listed.stderr == (f"vantrel: cannot list the printers: the print scheduler at "
                             f"{address} is not running (0x800706BA)\n")
    shown = run(env, VANTREL, "printer", "Raw", check=False)
    assert shown.stderr == (f"vantrel: cannot show printer 'Raw': Could not open printer: the "
                            f"print scheduler at {address} is not running (0x80042003)\n")
    seen = clients(env, """
        print(json.dumps(failure(lambda: vantrel.Dispatch("Vantrel.Printer").Initialize("Raw"))))
    """)
    assert seen == [0x80042003, "Could not open printer"]
