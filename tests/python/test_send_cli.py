"""`vantrel send` end to end: a private scheduler whose raw queue prints to the
simulated printer's raw port; the bytes that arrive are the file's."""
import base64
import json
import os
import re
import shutil
import subprocess
import tempfile
import time

import pytest

from test_printer_sim import VANTREL, Simulator, poll_jobs

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SANDBOX = os.path.join(ROOT, "scripts", "cups-sandbox")
QUEUE = "Labels-Raw"


@pytest.fixture
def server():
    # Not under pytest's private temporary folder: the scheduler runs its
    # backends as another user, who must reach them.
    folder = tempfile.mkdtemp(prefix="vantrel-send-cups-")
    os.chmod(folder, 0o755)
    started = subprocess.run([SANDBOX, "start", str(folder)], capture_output=True, text=True,
                             timeout=60)
    assert started.returncode == 0, started.stderr
    address = re.search(r"CUPS_SERVER=([^\s;]+)", started.stdout).group(1)
    yield address
    subprocess.run([SANDBOX, "stop", str(folder)], capture_output=True, timeout=60)
    shutil.rmtree(folder, ignore_errors=True)


@pytest.fixture
def queue(server):
    sim = Simulator()
    env = dict(os.environ, CUPS_SERVER=server)
    added = subprocess.run(["lpadmin", "-p", QUEUE, "-E", "-v", f"socket://127.0.0.1:{sim.raw}"],
                           env=env, capture_output=True, text=True, timeout=60)
    assert added.returncode == 0, added.stderr
    yield sim, env
    assert sim.stop() == 0


def send(env, *args):
    return subprocess.run([VANTREL, "send", *args], env=env, capture_output=True, text=True,
                          timeout=120)


def test_file_arrives_unchanged_as_one_job_named_after_it(queue, tmp_path):
    sim, env = queue
    payload = os.urandom(3 * 1024 * 1024 + 17)  # more than one chunk, not a multiple
    path = tmp_path / "batch.prn"
    path.write_bytes(payload)
    done = send(env, QUEUE, str(path), "--json")
    assert done.returncode == 0, done.stderr
    report = json.loads(done.stdout)
    assert report["job"] == "batch.prn" and report["bytes"] == len(payload)
    assert report["job_id"] > 0
    jobs = poll_jobs(sim, 1)
    assert jobs["count"] == 1
    assert base64.b64decode(jobs["jobs"][0]["data"]) == payload


def test_failures_are_one_line_with_the_code_and_send_nothing(queue, tmp_path):
    sim, env = queue
    done = send(env, QUEUE, str(tmp_path / "missing.prn"))
    assert done.returncode == 1
    assert done.stdout == ""
    assert re.fullmatch(r"vantrel: cannot send '.*missing\.prn' to 'Labels-Raw': .* \(0x80070002\)\n",
                        done.stderr), done.stderr
    (tmp_path / "label.prn").write_bytes(b"^XA^XZ")
    done = send(env, "No-Such-Queue", str(tmp_path / "label.prn"))
    assert done.returncode == 1
    assert re.fullmatch(r"vantrel: cannot open the queue 'No-Such-Queue': .* \(0x[0-9A-F]{8}\)\n",
                        done.stderr), done.stderr
    time.sleep(0.3)
    assert sim.call("GET", "/jobs")["count"] == 0
