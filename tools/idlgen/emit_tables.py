"""vantrel_members.h/.cc (the surface as data) and vantrel_stubs.h (a base class
per dual interface answering every member with Unimplemented). Both targets
build them: on Windows against widl's vantrel.h, on Linux against ours."""
from cpp_text import banner, parameter_list, string_literal

MEMBERS_HEADER = """\
#pragma once

#include <span>

#include "automation_runtime.h"

namespace vantrel::idl {

struct Parameter {
  const char* name;
  // The VARIANT type that carries the argument, as the type library's type
  // description reads when pointers become VT_BYREF and SAFEARRAY becomes
  // VT_ARRAY: VT_BYREF | X for an output, VT_ARRAY | VT_UI1 for a byte array,
  // VT_DISPATCH (the library's interfaces, IDispatch) or VT_UNKNOWN for an
  // interface pointer, VT_I4 for an enumeration.
  VARTYPE type;
  USHORT flags;  // PARAMFLAG_FIN, _FOUT, _FRETVAL, _FOPT
  // The interface or enumeration the IDL names ("IPrinter", "IUnknown",
  // "PrinterCommand"); nullptr for the other types.
  const char* type_name;
  // The interface an interface pointer is asked for; nullptr for the others.
  const IID* interface_id;
};

struct Member {
  const char* name;  // "Name" for get_Name and put_Name
  DISPID dispid;
  INVOKEKIND kind;
  VARTYPE result_type;  // the retval's type without VT_BYREF; VT_EMPTY when none
  WORD flags;           // FUNCFLAG_FRESTRICTED, _FHIDDEN
  const char* help;
  int vtable_slot;  // index in the dual interface's vtable; -1 in a dispinterface
  std::span<const Parameter> parameters;  // in IDL order, the retval last
};

struct Interface {
  const char* name;
  const IID* iid;
  bool dual;  // false: a dispinterface (an event interface)
  const char* help;
  std::span<const Member> members;  // in IDL (and vtable) order
};

struct Coclass {
  const char* name;
  const CLSID* clsid;
  const char* help;
  bool creatable;  // false when the IDL marks it noncreatable
  const Interface* default_interface;  // nullptr when none
  const Interface* source_interface;   // the event interface; nullptr when none
};

struct Library {
  const char* name;
  const GUID* libid;
  WORD major_version;
  WORD minor_version;
  const char* help;
  std::span<const Interface> interfaces;  // duals and dispinterfaces in IDL order
  std::span<const Coclass> coclasses;
};

extern const Library kLibrary;

// The dual interface or dispinterface with this IID; nullptr when the library
// has none. Any thread.
const Interface* FindInterface(const IID& iid);

}  // namespace vantrel::idl
"""


def members_header(idl):
    return banner(idl, "The library's automation surface as data.") + MEMBERS_HEADER


def members_source(idl):
    index = {interface.name: number for number, interface in enumerate(idl.interfaces)}
    out = [banner(idl, "The library's automation surface as data."),
           '#include "vantrel_members.h"\n\n#include "vantrel.h"\n\n',
           "namespace vantrel::idl {\nnamespace {\n\n"]
    for interface in idl.interfaces:
        out.extend(_parameter_arrays(interface))
        out.append(_member_array(interface))
    out.append("const Interface kInterfaces[] = {\n")
    for interface in idl.interfaces:
        members = f"k{interface.name}Members" if interface.members else "{}"
        out.append(f"    {{{string_literal(interface.name)}, &{interface.iid_name}, "
                   f"{'true' if interface.dual else 'false'}, {string_literal(interface.help)}, "
                   f"{members}}},\n")
    out.append("};\n\n")
    out.append(_coclass_array(idl, index))
    library = idl.library
    coclasses = "kCoclasses" if idl.coclasses else "{}"
    out.append("}  // namespace\n\n"
               f"const Library kLibrary = {{{string_literal(library.name)}, &LIBID_{library.name}, "
               f"{library.major}, {library.minor}, {string_literal(library.help)}, kInterfaces, "
               f"{coclasses}}};\n\n"
               "const Interface* FindInterface(const IID& iid) {\n"
               "  for (const Interface& candidate : kLibrary.interfaces) {\n"
               "    if (IsEqualIID(*candidate.iid, iid)) return &candidate;\n"
               "  }\n"
               "  return nullptr;\n"
               "}\n\n"
               "}  // namespace vantrel::idl\n")
    return "".join(out)


def _parameter_arrays(interface):
    for member in interface.members:
        if not member.params:
            continue
        yield f"const Parameter {_params_name(interface, member)}[] = {{\n"
        for param in member.params:
            named = param.base.kind in ("interface", "enum")
            type_name = string_literal(param.base.idl) if named else "nullptr"
            iid = f"&{param.base.interface_iid}" if param.base.interface_iid else "nullptr"
            yield (f"    {{{string_literal(param.name)}, {param.vt}, {param.flags}, {type_name}, "
                   f"{iid}}},\n")
        yield "};\n"


def _params_name(interface, member):
    return f"k{interface.name}_{member.cpp_name}"


def _member_array(interface):
    if not interface.members:
        return "\n"
    rows = []
    for slot, member in enumerate(interface.members, start=7):
        result = member.retval.base.vt if member.retval else "VT_EMPTY"
        params = _params_name(interface, member) if member.params else "{}"
        rows.append(f"    {{{string_literal(member.name)}, {member.dispid}, {member.invoke_kind}, "
                    f"{result}, {member.func_flags}, {string_literal(member.help)}, "
                    f"{slot if interface.dual else -1}, {params}}},\n")
    return f"const Member k{interface.name}Members[] = {{\n{''.join(rows)}}};\n\n"


def _coclass_array(idl, index):
    if not idl.coclasses:
        return ""

    def pointer(name):
        return f"&kInterfaces[{index[name]}]" if name else "nullptr"

    rows = [f"    {{{string_literal(coclass.name)}, &CLSID_{coclass.name}, "
            f"{string_literal(coclass.help)}, {'true' if coclass.creatable else 'false'}, "
            f"{pointer(coclass.default_interface)}, {pointer(coclass.source_interface)}}},\n"
            for coclass in idl.coclasses]
    return f"const Coclass kCoclasses[] = {{\n{''.join(rows)}}};\n\n"


def stubs_header(idl):
    out = [banner(idl, "For each dual interface IX, IXStubs: every member of IX answered by\n"
                       "Unimplemented(\"X::member\"), so that a class overrides only what it "
                       "implements."),
           "#pragma once\n\n#include \"vantrel.h\"\n"]
    for interface in idl.duals:
        out.append(f"\nclass {interface.name}Stubs : public {interface.name} {{\n public:\n")
        for member in interface.members:
            text = string_literal(f"{interface.short_name}::{member.cpp_name}")
            out.append(f"  HRESULT STDMETHODCALLTYPE {member.cpp_name}("
                       f"{parameter_list(member.params)}) override {{\n"
                       f"    return Unimplemented({text});\n  }}\n")
        out.append("  virtual HRESULT Unimplemented(const char* member) = 0;\n};\n")
    return "".join(out)
