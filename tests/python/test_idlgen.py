"""tools/idlgen on small IDL texts: faults are reported at their line, and the
tables, declarations and stubs it writes say what the IDL says."""
import os
import subprocess
import sys

import pytest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
IDLGEN = os.path.join(ROOT, "tools", "idlgen")
sys.path.insert(0, IDLGEN)

from idl_lexer import IdlError  # noqa: E402
from idl_parser import parse_text  # noqa: E402

LIBRARY = """
[uuid(A9F21314-6355-436C-8A69-CC83C81331CE), version(1.0), helpstring("Test Library")]
library Test
{
    importlib("stdole2.tlb");
    [uuid(9328FAA0-2DB0-402C-A46A-9896DB358217), helpstring("Events")]
    dispinterface _IWidgetEvents
    {
        properties:
        methods:
        [id(1)] HRESULT OnChanged([in] IWidget* argWidget, [in] BSTR argWhat);
    };
    [uuid(9A95CD89-0000-1111-2222-333333333333), helpstring("Widget Class")]
    coclass Widget
    {
        [default] interface IWidget;
        [default, source] dispinterface _IWidgetEvents;
    };
    [uuid(9A95CD89-0000-1111-2222-444444444444), noncreatable]
    coclass Widgets { [default] interface IWidgets; };
};
"""

GOOD = """import "oaidl.idl";
import "ocidl.idl";

interface IWidget;
interface IWidgets;

typedef [uuid(5C1E7A43-8D1B-4E0C-9C49-0C6A3B2E9F11)] enum Mode { Fast = 1, Slow = 0x10, Next } Mode;

/* A dual interface whose attributes
   span lines. */
[object, uuid(11111111-2222-3333-4444-555555555555), dual,
 nonextensible, oleautomation, helpstring("IWidget Interface"), pointer_default(unique)]
interface IWidget : IDispatch
{
    [id(1), helpstring("Starts")] HRESULT Start([in] Mode argMode, [in, optional] VARIANT argOptions);
    [propget, id(0x65)] HRESULT Name([out, retval] BSTR* retName);  // hex id
    [propput, id(0x65)] HRESULT Name([in] BSTR argName);
    [propget, id(102)] HRESULT Data([out, retval] SAFEARRAY(unsigned char)* retData);
    [propput, id(102)] HRESULT Data([in] SAFEARRAY(unsigned char) argData);
    [propputref, id(103)] HRESULT Owner([in] IWidget* argOwner);
    [id(104)] HRESULT Reset(void);
};

[object, uuid(21111111-2222-3333-4444-555555555555), dual, oleautomation]
interface IWidgets : IDispatch
{
    [propget, id(-4), restricted] HRESULT _NewEnum([out, retval] IUnknown** retEnum);
    [propget, id(0)] HRESULT Item([in] VARIANT Index, [out, retval] IWidget** retItem);
    [propget, id(1)] HRESULT Count([out, retval] long* retCount);
};
""" + LIBRARY


def fault_line(text):
    with pytest.raises(IdlError) as raised:
        parse_text(text, "w.idl")
    message = str(raised.value)
    assert message.startswith(f"w.idl:{raised.value.line}: error: ")
    return raised.value.line, message


def replace_line(text, number, new):
    lines = text.split("\n")
    lines[number - 1] = new
    return "\n".join(lines)


START_LINE = 15  # the line of IWidget.Start in GOOD


@pytest.mark.parametrize("member, words", [
    ('[id(1), bindable] HRESULT Start();', "attribute 'bindable'"),
    ('[id(1)] HRESULT Start([in] CURRENCY argMoney);', "type 'CURRENCY'"),
    ('[id(1)] HRESULT Start([in] SAFEARRAY(BSTR) argNames);', "SAFEARRAY(BSTR)"),
    ('[id(1)] HRESULT Start([out] BSTR* retText);', "[out, retval]"),
    ('[id(1)] HRESULT Start([in, optional] long argCount);', "may be optional"),
    ('[id(1)] HRESULT Start([in] BSTR* argText);', "expected type BSTR, found BSTR*"),
    ('[id(1)] HRESULT Start([in] IWidget argWidget);', "expected type IWidget*"),
    ('[id(104)] HRESULT Start();', "id(104) is already used by Start on line 15"),
    ('[propget] HRESULT Start([out, retval] long* retValue);', "has no id()"),
    ('[id(1)] long Start();', "must return HRESULT"),
    ('[id(1)] HRESULT Start([in] BSTR argA,, [in] BSTR argB);', "expected a parameter type"),
    ('[id(1)] HRESULT Start([in] _IWidgetEvents* argEvents);', "type '_IWidgetEvents'"),
])
def test_a_fault_in_a_member_names_its_line(member, words):
    line, message = fault_line(replace_line(GOOD, START_LINE, "    " + member))
    # A DISPID used twice shows on the later member, Reset.
    assert line == (START_LINE + 6 if "already used" in message else START_LINE)
    assert words in message


@pytest.mark.parametrize("edit, expected_line, words", [
    ((4, "interface IGadget;"), 4, "'IGadget' is declared but never defined"),
    ((1, '#include "oaidl.idl"'), 1, "preprocessor"),
    ((2, 'import "mine.idl";'), 2, "import of 'mine.idl'"),
    ((11, "[object, uuid(11111111-2222-3333-4444-555555555555),"), 13, "must be dual"),
    ((18, "    [propput, id(0x66)] HRESULT Name([in] BSTR argName);"), 18, "differs from id(101)"),
])
def test_a_fault_outside_members_names_its_line(edit, expected_line, words):
    line, message = fault_line(replace_line(GOOD, *edit))
    assert line == expected_line
    assert words in message


def test_an_unclosed_comment_names_the_line_it_starts_on():
    line, message = fault_line(GOOD + "/* never closed\n\n")
    assert line == GOOD.count("\n") + 1
    assert "comment is not closed" in message


def generate(tmp_path, text, target="linux"):
    idl = tmp_path / "w.idl"
    idl.write_text(text)
    out = tmp_path / "out"
    done = subprocess.run([sys.executable, os.path.join(IDLGEN, "idlgen.py"), "--idl", str(idl),
                           "--out", str(out), "--target", target],
                          capture_output=True, text=True, timeout=60)
    return done, out


def test_the_member_table_follows_the_idl(tmp_path):
    done, out = generate(tmp_path, GOOD)
    assert done.returncode == 0, done.stderr
    table = (out / "vantrel_members.cc").read_text()
    rows = [
        # name, DISPID, kind, result, flags, help, vtable slot, parameters
        '{"Start", 1, INVOKE_FUNC, VT_EMPTY, 0, "Starts", 7, kIWidget_Start}',
        '{"Name", 101, INVOKE_PROPERTYGET, VT_BSTR, 0, "", 8, kIWidget_get_Name}',
        '{"Name", 101, INVOKE_PROPERTYPUT, VT_EMPTY, 0, "", 9, kIWidget_put_Name}',
        '{"Data", 102, INVOKE_PROPERTYGET, VT_ARRAY | VT_UI1, 0, "", 10, kIWidget_get_Data}',
        '{"Owner", 103, INVOKE_PROPERTYPUTREF, VT_EMPTY, 0, "", 12, kIWidget_putref_Owner}',
        '{"Reset", 104, INVOKE_FUNC, VT_EMPTY, 0, "", 13, {}}',
        '{"_NewEnum", -4, INVOKE_PROPERTYGET, VT_UNKNOWN, FUNCFLAG_FRESTRICTED, "", 7, ',
        '{"OnChanged", 1, INVOKE_FUNC, VT_EMPTY, 0, "", -1, k_IWidgetEvents_OnChanged}',
        '{"argMode", VT_I4, PARAMFLAG_FIN, "Mode", nullptr}',
        '{"argOptions", VT_VARIANT, PARAMFLAG_FIN | PARAMFLAG_FOPT, nullptr, nullptr}',
        '{"retData", VT_BYREF | VT_ARRAY | VT_UI1, PARAMFLAG_FOUT | PARAMFLAG_FRETVAL, '
        'nullptr, nullptr}',
        '{"argOwner", VT_DISPATCH, PARAMFLAG_FIN, "IWidget", &IID_IWidget}',
        '{"retItem", VT_BYREF | VT_DISPATCH, PARAMFLAG_FOUT | PARAMFLAG_FRETVAL, "IWidget", '
        '&IID_IWidget}',
        '{"IWidget", &IID_IWidget, true, "IWidget Interface", kIWidgetMembers}',
        '{"_IWidgetEvents", &DIID__IWidgetEvents, false, "Events", k_IWidgetEventsMembers}',
        '{"Widget", &CLSID_Widget, "Widget Class", true, &kInterfaces[0], &kInterfaces[2]}',
        '{"Widgets", &CLSID_Widgets, "", false, &kInterfaces[1], nullptr}',
        '{"Test", &LIBID_Test, 1, 0, "Test Library", kInterfaces, kCoclasses}',
    ]
    for row in rows:
        assert row in table


def test_the_linux_header_declares_what_widl_declares(tmp_path):
    done, out = generate(tmp_path, GOOD)
    assert done.returncode == 0, done.stderr
    header = (out / "vantrel.h").read_text()
    for declaration in [
        "enum Mode {\n  Fast = 1,\n  Slow = 0x10,\n  Next = 17,\n};",
        "virtual HRESULT STDMETHODCALLTYPE Start(Mode argMode, VARIANT argOptions) = 0;",
        "virtual HRESULT STDMETHODCALLTYPE get_Data(SAFEARRAY** retData) = 0;",
        "virtual HRESULT STDMETHODCALLTYPE put_Data(SAFEARRAY* argData) = 0;",
        "virtual HRESULT STDMETHODCALLTYPE putref_Owner(IWidget* argOwner) = 0;",
        "virtual HRESULT STDMETHODCALLTYPE get_Count(LONG* retCount) = 0;",
        "struct _IWidgetEvents : public IDispatch {};",
        "extern const IID DIID__IWidgetEvents;",
        "extern const CLSID CLSID_Widget;",
        "extern const IID LIBID_Test;",
    ]:
        assert declaration in header
    identifiers = (out / "vantrel_i.cc").read_text()
    assert ('extern "C" const IID IID_IWidget = {0x11111111, 0x2222, 0x3333, '
            '{0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};') in identifiers
    stubs = (out / "vantrel_stubs.h").read_text()
    assert "class IWidgetsStubs : public IWidgets {" in stubs
    assert 'return Unimplemented("Widgets::get__NewEnum");' in stubs
    assert 'return Unimplemented("Widget::putref_Owner");' in stubs


def test_windows_gets_only_the_shared_files_and_unchanged_files_are_not_rewritten(tmp_path):
    done, out = generate(tmp_path, GOOD, "windows")
    assert done.returncode == 0, done.stderr
    assert sorted(os.listdir(out)) == ["vantrel_members.cc", "vantrel_members.h",
                                       "vantrel_stubs.h"]
    table = out / "vantrel_members.cc"
    os.utime(table, (1, 1))
    done, out = generate(tmp_path, GOOD, "windows")
    assert done.returncode == 0
    assert os.stat(table).st_mtime == 1


def test_the_command_fails_with_the_faults_place(tmp_path):
    done, out = generate(tmp_path, replace_line(GOOD, START_LINE, "    [id(1)] HRESULT Start(;"))
    assert done.returncode == 1
    assert done.stderr.startswith(f"{tmp_path / 'w.idl'}:{START_LINE}: error: ")
    assert not out.exists()
