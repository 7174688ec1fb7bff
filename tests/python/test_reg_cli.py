"""`vantrel reg` end to end: each test runs the built program against its own
empty settings store (VANTREL_HOME) and log folder."""
import json
import os
import subprocess

import pytest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
VANTREL = os.environ.get("VANTREL_BIN", os.path.join(ROOT, "build", "bin", "vantrel"))

TEST_KEY = "2:SOFTWARE/Vantrel Test"


class Home:
    """One settings store folder and the environment that points the tool at it."""

    def __init__(self, folder):
        self.folder = folder
        folder.mkdir(parents=True)
        self.env = dict(os.environ,
                        VANTREL_HOME=str(folder / "home"),
                        VANTREL_LOG_DIR=str(folder / "log"),
                        VANTREL_RUNTIME_DIR=str(folder / "run"))

    def run(self, *args, check=True):
        assert os.path.exists(VANTREL), f"build the tool first or set VANTREL_BIN: {VANTREL}"
        done = subprocess.run([VANTREL, "reg", *args], env=self.env, cwd=self.folder,
                              capture_output=True, text=True, timeout=60)
        if check:
            assert done.returncode == 0, done.stderr
            assert done.stderr == ""
        return done

    def query(self, path, *options):
        return json.loads(self.run("query", path, "--json", *options).stdout)

    def write_reg(self, name, text):
        path = self.folder / name
        path.write_bytes(("Windows Registry Editor Version 5.00\r\n\r\n" + text).encode())
        return str(path)


@pytest.fixture
def home(tmp_path):
    return Home(tmp_path / "a")


@pytest.fixture
def other_home(tmp_path):
    return Home(tmp_path / "b")


def test_printer_setting_lands_under_the_printers_machine_key(home):
    home.run("set", "SETTINGS:Foo", "7", "--type", "dword", "--printer", "P1")
    path = "2:SYSTEM/CurrentControlSet/Control/Print/Printers/P1/PrinterDriverData/Settings/Foo"
    assert home.query(path) == {"type": "REG_DWORD", "value": 7}
    assert home.run("query", path).stdout == "REG_DWORD 7 (0x00000007)\n"
    # Without a printer the placeholder stays literal and names another key.
    assert home.run("query", "SETTINGS:Foo", check=False).returncode == 1


@pytest.mark.parametrize("kind, args, shown", [
    ("sz", ["héllo \"wörld\" \\ 😀"], "héllo \"wörld\" \\ 😀"),
    ("sz", [""], ""),
    ("expand_sz", ["%SystemRoot%\\x"], "%SystemRoot%\\x"),
    ("binary", ["de:ad be-ef,01"], "deadbeef01"),
    ("binary", ["DE", "AD"], "dead"),
    ("binary", [""], ""),
    ("none", ["00ff"], "00ff"),
    ("dword", ["0"], 0),
    ("dword", ["0x1F"], 31),
    ("dword", ["4294967295"], 4294967295),
    ("qword", ["18446744073709551615"], 18446744073709551615),
    ("qword", ["0x100000000"], 4294967296),
    ("multi_sz", ["one", "two words"], ["one", "two words"]),
    ("multi_sz", ["a|b", "c", "--separator", "|"], ["a", "b", "c"]),
    ("multi_sz", [], []),
])
def test_every_type_round_trips_through_set_and_query(home, kind, args, shown):
    home.run("set", TEST_KEY + "/Value", *args, "--type", kind)
    type_name = "REG_" + kind.upper()
    assert home.query(TEST_KEY + "/Value") == {"type": type_name, "value": shown}


@pytest.mark.parametrize("args, problem", [
    (["query", "9:SOFTWARE/X"], 'cannot read "9:SOFTWARE/X": invalid path (error 161)'),
    (["query", TEST_KEY + "/Missing"], "not found (error 2)"),
    (["delete", TEST_KEY + "/Missing"], "not found (error 2)"),
    (["keys", "2:No/Such/Key"], "not found (error 2)"),
    (["export", "2:No/Such/Key", "out.reg"], "(error 2)"),
    (["set", "2:A/V", "4294967296", "--type", "dword"], "out of range"),
    (["set", "2:A/V", "-1", "--type", "dword"], "out of range"),
    (["set", "2:A/V", "18446744073709551616", "--type", "qword"], "out of range"),
    (["set", "2:A/V", "12abc", "--type", "dword"], "not a number"),
    (["set", "2:A/V", "a", "b", "--type", "sz"], "exactly one VALUE"),
    (["set", "2:A/V", "abc", "--type", "binary"], "two digits each"),
    (["set", "2:A/V", "zz", "--type", "binary"], "not hexadecimal"),
    (["set", "2:A/V", "a||b", "--separator", "|", "--type", "multi_sz"], "cannot be empty"),
    (["import", "missing.reg"], 'cannot read "missing.reg"'),
])
def test_failures_print_one_line_naming_problem_and_error_number(home, args, problem):
    done = home.run(*args, check=False)
    assert done.returncode == 1
    assert done.stdout == ""
    lines = done.stderr.splitlines()
    assert len(lines) == 1, done.stderr
    assert lines[0].startswith("vantrel: cannot ")
    assert problem in lines[0]
    assert lines[0].endswith(")")


def test_usage_errors_are_one_line_too(home):
    done = home.run("set", "2:A/V", "1", "--type", "float", check=False)
    assert done.returncode == 2
    assert len(done.stderr.splitlines()) == 1, done.stderr


def test_keys_and_delete_key(home):
    for name in ["Beta", "alpha", "With//Slash"]:
        home.run("set", TEST_KEY + "/" + name + "/V", "1", "--type", "dword")
    home.run("set", TEST_KEY + "/Beta/Deeper/V", "x", "--type", "sz")
    listed = home.run("keys", TEST_KEY).stdout.splitlines()
    assert sorted(listed) == ["Beta", "With/Slash", "alpha"]
    assert sorted(json.loads(home.run("keys", TEST_KEY, "--json").stdout)) == sorted(listed)
    assert home.run("keys", TEST_KEY + "/alpha", "--json").stdout == "[]\n"

    refused = home.run("delete-key", TEST_KEY + "/Beta", check=False)
    assert refused.returncode == 1
    assert "has subkeys" in refused.stderr and "(error 5)" in refused.stderr
    home.run("delete-key", TEST_KEY + "/Beta", "--recursive")
    home.run("delete-key", TEST_KEY + "/With//Slash")
    assert home.run("keys", TEST_KEY).stdout == "alpha\n"

    home.run("delete", TEST_KEY + "/alpha/V")
    assert home.run("query", TEST_KEY + "/alpha/V", check=False).returncode == 1


# Values the command cannot write but a .reg file can: string data that is not
# plain text, a DWORD of the wrong size, an unknown type number.
AWKWARD_VALUES = (
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantrel Test\\Awkward]\r\n"
    "\"odd sz\"=hex(1):61,00,62\r\n"
    "\"sz with zero inside\"=hex(1):61,00,00,00,62,00,00,00\r\n"
    "\"tab\"=\"a\tb\"\r\n"
    "\"short dword\"=hex(4):01,02\r\n"
    "\"type 0x42\"=hex(42):ff\r\n"
    "@=\"default value\"\r\n"
    "\r\n")


def test_export_import_round_trip_preserves_every_value_byte_for_byte(home, other_home):
    home.run("set", TEST_KEY + "/sz", "tëxt \"quoted\" \\ 😀", "--type", "sz")
    home.run("set", TEST_KEY + "/expand", "%TEMP%\\x", "--type", "expand_sz")
    home.run("set", TEST_KEY + "/bin", "00" * 200 + "ff", "--type", "binary")
    home.run("set", TEST_KEY + "/empty", "", "--type", "binary")
    home.run("set", TEST_KEY + "/dword", "0xdeadbeef", "--type", "dword")
    home.run("set", TEST_KEY + "/qword", "0x0123456789abcdef", "--type", "qword")
    home.run("set", TEST_KEY + "/multi", "a", "b", "--type", "multi_sz")
    home.run("set", TEST_KEY + "/none", "01", "--type", "none")
    home.run("set", TEST_KEY + "/Sub/Deeper/leaf", "1", "--type", "dword")
    home.run("import", home.write_reg("awkward.reg", AWKWARD_VALUES))

    first = home.folder / "first.reg"
    home.run("export", TEST_KEY, str(first))
    exported = first.read_bytes()
    assert exported.startswith(b"\xff\xfe" + "Windows Registry Editor".encode("utf-16-le"))

    imported = other_home.run("import", str(first)).stdout
    assert imported.endswith(": 15 values and 5 keys changed\n"), imported
    second = other_home.folder / "second.reg"
    other_home.run("export", TEST_KEY, str(second))
    assert second.read_bytes() == exported

    for name in ["sz", "bin", "dword", "qword", "multi", "none", "Awkward/short dword"]:
        assert other_home.query(TEST_KEY + "/" + name) == home.query(TEST_KEY + "/" + name)
    again = other_home.run("import", str(first)).stdout
    assert again.endswith(": 0 values and 0 keys changed\n"), again


def test_export_of_a_printers_settings_in_utf8(home):
    home.run("set", "SETTINGS:Darkness", "12", "--type", "dword", "--printer", "P/1")
    out = home.folder / "p1.reg"
    home.run("export", "SETTINGS:", str(out), "--utf8", "--printer", "P/1")
    assert out.read_bytes().decode() == (
        "Windows Registry Editor Version 5.00\r\n\r\n"
        "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\P/1"
        "\\PrinterDriverData\\Settings]\r\n"
        "\"Darkness\"=dword:0000000c\r\n\r\n")


def test_import_creates_and_deletes_as_the_file_says(home):
    home.run("set", TEST_KEY + "/Old/Inner/V", "1", "--type", "dword")
    home.run("set", TEST_KEY + "/Keep", "1", "--type", "dword")
    home.run("set", TEST_KEY + "/Drop", "1", "--type", "dword")
    reg = home.write_reg("changes.reg",
                         "; comments and short root names are fine\r\n"
                         "[-HKLM\\SOFTWARE\\Vantrel Test\\Old]\r\n\r\n"
                         "[HKLM\\SOFTWARE\\Vantrel Test]\r\n"
                         "\"Drop\"=-\r\n"
                         "\"Keep\"=dword:00000001\r\n"
                         "\"New\"=hex:01,\\\r\n"
                         "  02\r\n"
                         "[HKLM\\SOFTWARE\\Vantrel Test\\Made\\Here]\r\n")
    assert home.run("import", reg).stdout.endswith(": 2 values and 4 keys changed\n")
    assert sorted(home.run("keys", TEST_KEY).stdout.splitlines()) == ["Made"]
    assert home.query(TEST_KEY + "/New") == {"type": "REG_BINARY", "value": "0102"}
    assert home.run("query", TEST_KEY + "/Drop", check=False).returncode == 1


def test_a_malformed_file_names_its_line_and_changes_nothing(home):
    reg = home.write_reg("bad.reg",
                         "[HKLM\\SOFTWARE\\Vantrel Test]\r\n"
                         "\"Fine\"=dword:00000001\r\n"
                         "\"Broken\"=hex:01,0g\r\n")
    done = home.run("import", reg, check=False)
    assert done.returncode == 1
    assert done.stderr.splitlines() == [
        f'vantrel: cannot import "{reg}": line 5: bad hex byte "0g" (error 13)']
    assert home.run("keys", "2:SOFTWARE", check=False).returncode == 1
