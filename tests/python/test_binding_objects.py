"""The vantrel package against the library: creation, members, values,
errors, collections, introspection and object lifetime."""
import datetime
import gc
import os
import tempfile

# The library reads VANTREL_HOME once, when it first opens the settings store.
os.environ.setdefault("VANTREL_HOME", tempfile.mkdtemp(prefix="vantrel-py-"))

import pytest  # noqa: E402

import vantrel  # noqa: E402
from vantrel import _vantrel  # noqa: E402

PRINTERS_CLSID = "{2B65002B-B379-4DFB-B220-8C5808392084}"


@pytest.fixture(scope="module", autouse=True)
def registered():
    vantrel.register()
    yield


def test_creation_by_progid_and_by_clsid_give_the_same_class():
    by_name = vantrel.Dispatch("Vantrel.Printers")
    by_clsid = vantrel.Dispatch(PRINTERS_CLSID.lower())
    assert type(by_name) is type(by_clsid)
    assert type(by_name).__name__ == "IPrinters"
    assert by_name != by_clsid  # two objects


def test_creation_failures_carry_the_runtime_result():
    with pytest.raises(vantrel.ComError) as unknown:
        vantrel.Dispatch("Vantrel.NoSuchClass")
    assert unknown.value.hresult == vantrel.CO_E_CLASSSTRING
    with pytest.raises(vantrel.ComError) as missing:
        vantrel.Dispatch("{00000000-0000-0000-0000-0000000000AB}")
    assert missing.value.hresult in (vantrel.REGDB_E_CLASSNOTREG,
                                     vantrel.CLASS_E_CLASSNOTAVAILABLE)


def test_uninitialized_printer_reports_the_library_error():
    printer = vantrel.Dispatch("Vantrel.Printer")
    with pytest.raises(vantrel.ComError) as failure:
        printer.Name
    error = failure.value
    assert error.hresult == 0x80042000 == vantrel.E_PRINTER_NOT_INITIALIZED
    assert error.description == "Printer object not initialized"
    assert error.source == "Vantrel.Printer.1"
    assert "0x80042000" in str(error) and "Printer object not initialized" in str(error)
    # A later failure of another kind is not mixed up with this one.
    with pytest.raises(vantrel.ComError) as later:
        vantrel.Dispatch("Vantrel.Printers").Item(5)
    assert later.value.hresult != 0x80042000 or later.value.source != "Vantrel.Printer.1"


def test_query_command_converts_between_hexadecimal_and_bytes():
    query = vantrel.Dispatch("Vantrel.QueryCommand")
    query.Hexadecimal = "0a1"
    assert query.Binary == b"\x0a"
    query.Binary = b"\x00\xff"
    assert query.Hexadecimal == "00FF"
    query.Binary = bytearray(b"\x01\x02\x03")
    assert query.Binary == b"\x01\x02\x03"
    query.Binary = b""
    assert query.Binary in (b"", None)


def test_command_parameters_keep_each_property():
    parameters = vantrel.Dispatch("Antrel.CommandParameters")
    flags = ["Execute", "IsSupported", "RequiresBidirectionalPort", "HasUserInterface",
             "RequiresManagementRights"]
    for value in (True, False):
        for name in flags:
            setattr(parameters, name, value)
        for name in flags:
            assert getattr(parameters, name) is value, name
    for window in (0x1234, -1, 2 ** 40, -2 ** 63):
        parameters.ParentWindow = window
        assert parameters.ParentWindow == window


def test_names_match_in_any_case_and_unknown_names_fail_cleanly():
    query = vantrel.Dispatch("Vantrel.QueryCommand")
    query.sendtimeout = 1234
    assert query.SENDTIMEOUT == 1234 == query.SendTimeout
    with pytest.raises(AttributeError):
        query.NoSuchMember
    with pytest.raises(AttributeError):
        query.NoSuchMember = 1
    assert not hasattr(query, "NoSuchMember")


def test_wrong_value_types_are_refused_before_the_call():
    query = vantrel.Dispatch("Vantrel.QueryCommand")
    with pytest.raises(TypeError):
        query.Text = object()
    with pytest.raises(vantrel.ComError) as failure:
        query.SendTimeout = "not a number"
    assert failure.value.hresult == vantrel.DISP_E_TYPEMISMATCH


def test_keyword_and_left_out_optional_arguments():
    printers = vantrel.Dispatch("Vantrel.Printers")
    printer = printers.Create()
    printers.Add(argPrinter=printer)
    assert len(printers) == 1
    # Optional argument left out, and given by keyword: both reach the object,
    # which answers with its own error rather than a parameter error.
    for call in (lambda: printer.Command(vantrel.PrinterCommand.PC_Cut),
                 lambda: printer.command(argcommandparameters=None, argPrinterCommand=3)):
        with pytest.raises(vantrel.ComError) as failure:
            call()
        assert failure.value.hresult == vantrel.E_PRINTER_NOT_INITIALIZED
    with pytest.raises(TypeError):
        printer.Command(3, argPrinterCommand=3)
    with pytest.raises(TypeError):
        printer.Command(3, bogus=1)


def test_collection_access_by_index_name_length_and_iteration():
    printers = vantrel.Dispatch("Vantrel.Printers")
    first, second = printers.Create(), printers.Create()
    printers.Add(first)
    printers.Add(second)
    assert len(printers) == printers.Count == 2
    assert printers[1] == first and printers.Item(2) == second
    assert list(printers) == [first, second]
    assert [type(p).__name__ for p in printers] == ["IPrinter", "IPrinter"]
    with pytest.raises(vantrel.ComError) as by_name:
        printers["no such printer"]
    assert by_name.value.hresult == vantrel.E_PRINTER_NOT_RECOGNIZED
    printers.RemoveAll()
    assert len(printers) == 0 and list(printers) == []


def test_dir_and_help_list_members_from_the_type_information():
    parameters = vantrel.Dispatch("Antrel.CommandParameters")
    names = dir(parameters)
    for name in ("ParentWindow", "Execute", "IsSupported", "RequiresBidirectionalPort",
                 "HasUserInterface", "RequiresManagementRights"):
        assert name in names
    printers = vantrel.Dispatch("Vantrel.Printers")
    assert "_NewEnum" not in dir(printers)  # restricted: reached through iter()
    import pydoc
    text = pydoc.render_doc(printers, renderer=pydoc.plaintext)
    assert "Number of printers" in text
    assert "Add(argPrinter)" in text
    assert "Creates a printer object that is not yet initialized" in text


def test_constants():
    assert vantrel.PrinterCommand.PC_Cut == 3
    assert vantrel.PrinterCommand(30).name == "PC_FormatMemoryFromKesto"
    assert len(vantrel.PrinterCommand) == 30
    assert vantrel.E_NOTIFICATION_PRIVILEGES == 0x80042107
    assert vantrel.ERROR_TEXTS[0x80042107].startswith("Insufficient privleges")


@pytest.mark.parametrize("value", [
    None, True, False, 0, -2 ** 31, 2 ** 31 - 1, 2 ** 31, -2 ** 63, 2 ** 64 - 1, 1.5, -0.0,
    "", "text", "ü€😀", "\ud800", b"", b"\x00\x01\xff",
])
def test_values_survive_a_trip_through_a_variant(value):
    back = _vantrel.round_trip(value)
    assert back == value and type(back) is type(value)


def test_sequences_travel_as_arrays_and_big_integers_are_refused():
    assert _vantrel.round_trip([1, "a", [b"x", None]]) == [1, "a", [b"x", None]]
    assert _vantrel.round_trip((True, 2.5)) == [True, 2.5]
    with pytest.raises(ValueError):
        _vantrel.round_trip(2 ** 64)
    with pytest.raises(TypeError):
        _vantrel.round_trip({"a": 1})


def test_dates_use_the_automation_epoch_and_local_wall_time():
    epoch = datetime.datetime(1899, 12, 30)
    assert _vantrel.date_from_python(epoch) == 0.0
    assert _vantrel.date_from_python(datetime.datetime(1900, 1, 1, 12)) == 2.5
    # Before the epoch the day counts down and the time of day still counts up.
    assert _vantrel.date_from_python(datetime.datetime(1899, 12, 29, 6)) == -1.25
    assert _vantrel.python_from_date(-1.25) == datetime.datetime(1899, 12, 29, 6)
    assert _vantrel.python_from_date(45000.5) == datetime.datetime(2023, 3, 15, 12)
    assert _vantrel.round_trip(datetime.date(2024, 2, 29)) == datetime.datetime(2024, 2, 29)
    moment = datetime.datetime(2031, 7, 4, 23, 59, 58, 123000)
    assert _vantrel.round_trip(moment) == moment
    aware = moment.replace(tzinfo=datetime.timezone.utc)
    assert _vantrel.round_trip(aware) == aware.astimezone().replace(tzinfo=None)
    with pytest.raises(ValueError):
        _vantrel.python_from_date(float("nan"))


def test_dropping_the_last_reference_releases_the_object():
    gc.collect()
    assert _vantrel.can_unload_now()
    printers = vantrel.Dispatch("Vantrel.Printers")
    printers.Add(printers.Create())
    items = list(printers)
    assert not _vantrel.can_unload_now()
    del printers
    assert not _vantrel.can_unload_now()  # the printer is still held
    del items
    assert _vantrel.can_unload_now()  # no garbage collection needed: no cycles
