"""`vantrel register`, `unregister` and `version` end to end, each test against
its own empty settings store."""
import json
import os
import subprocess

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
VANTREL = os.environ.get("VANTREL_BIN", os.path.join(ROOT, "build", "bin", "vantrel"))


def run(tmp_path, *args):
    env = dict(os.environ, VANTREL_HOME=str(tmp_path / "home"),
               VANTREL_LOG_DIR=str(tmp_path / "log"), VANTREL_RUNTIME_DIR=str(tmp_path / "run"))
    return subprocess.run([VANTREL, *args], env=env, capture_output=True, text=True, timeout=60)


def default_value(tmp_path, key):
    done = run(tmp_path, "reg", "query", "0:" + key + "/", "--json")
    return json.loads(done.stdout)["value"] if done.returncode == 0 else None


def test_register_writes_the_classes_with_the_library_path_and_unregister_removes_them(tmp_path):
    done = run(tmp_path, "register")
    assert done.returncode == 0, done.stderr
    library = done.stdout.split(" ", 1)[1].strip()
    assert library.endswith("libvantrel.so") and os.path.isabs(library)

    printer = "CLSID/{9A95CD89-0B17-4598-BE2E-66F0DF4F307F}"
    assert default_value(tmp_path, printer + "/InprocServer32") == os.path.realpath(library)
    assert default_value(tmp_path, "Vantrel.Printer/CurVer") == "Vantrel.Printer.1"
    assert default_value(tmp_path, "Vantrel.PrinterConfiguratio.1/CLSID") == \
        "{14C04647-AF9E-429A-9272-F681974E7E69}"

    done = run(tmp_path, "unregister")
    assert done.returncode == 0, done.stderr
    assert default_value(tmp_path, printer) is None
    assert default_value(tmp_path, "Vantrel.Printer") is None


def test_register_with_a_missing_library_explains_in_one_line(tmp_path):
    done = run(tmp_path, "register", "--library", str(tmp_path / "nothing.so"))
    assert done.returncode != 0
    assert done.stderr.startswith("vantrel: cannot load the library:")
    assert done.stderr.count("\n") == 1


def test_version_reports_the_build(tmp_path):
    done = run(tmp_path, "version", "--json")
    assert done.returncode == 0, done.stderr
    info = json.loads(done.stdout)
    assert info["version"].count(".") == 2
    assert info["platform"] in ("x64", "arm64")
    assert info["system"] == "Linux"
