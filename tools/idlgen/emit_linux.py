"""The Linux build's replacements for what widl gives the Windows build:
vantrel.h (the interfaces as C++ declarations, with widl's names and types),
vantrel_i.cc (the GUIDs) and vantrel_dispatch.cc (one invocation thunk per
member of each dual interface, which the portable ITypeInfo calls)."""
from cpp_text import banner, guid_initializer, parameter_list


def header(idl):
    out = [banner(idl, "The library's interfaces, enumerations and identifiers, declared as\n"
                       "widl declares them for the Windows build."),
           '#pragma once\n\n#include "automation_runtime.h"\n\n']
    out.extend(f"struct {interface.name};\n" for interface in idl.interfaces)
    out.extend(f"class {coclass.name};\n" for coclass in idl.coclasses)
    for enum in idl.enums:
        values = "".join(f"  {value.name} = {value.text},\n" for value in enum.values)
        out.append(f"\nenum {enum.name} {{\n{values}}};\n")
    for interface in idl.interfaces:
        out.append(_interface(interface))
    out.append('\nextern "C" {\n')
    out.extend(f"extern const IID {interface.iid_name};\n" for interface in idl.interfaces)
    out.extend(f"extern const CLSID CLSID_{coclass.name};\n" for coclass in idl.coclasses)
    out.append(f"extern const IID LIBID_{idl.library.name};\n")
    out.append('}  // extern "C"\n')
    return "".join(out)


def _interface(interface):
    if not interface.dual:
        return f"\nstruct {interface.name} : public IDispatch {{}};\n"
    methods = "".join(f"  virtual HRESULT STDMETHODCALLTYPE {member.cpp_name}("
                      f"{parameter_list(member.params)}) = 0;\n" for member in interface.members)
    return f"\nstruct {interface.name} : public IDispatch {{\n{methods}}};\n"


def identifiers(idl):
    out = [banner(idl, "The identifiers vantrel.h declares."), '#include "vantrel.h"\n\n']
    definitions = [(interface.iid_name, "IID", interface.uuid) for interface in idl.interfaces]
    definitions += [(f"CLSID_{coclass.name}", "CLSID", coclass.uuid) for coclass in idl.coclasses]
    definitions.append((f"LIBID_{idl.library.name}", "IID", idl.library.uuid))
    out.extend(f'extern "C" const {kind} {name} = {guid_initializer(uuid)};\n'
               for name, kind, uuid in definitions)
    return "".join(out)


def dispatch(idl):
    out = [banner(idl, "One thunk per member of each dual interface: it casts the instance,\n"
                       "takes the arguments already coerced to the parameters' types, calls\n"
                       "the member and puts its retval into the result VARIANT."),
           '#include "frame/posix/invoke_thunks.h"\n#include "vantrel.h"\n\n'
           "namespace vantrel::idl {\nnamespace {\n"]
    for interface in idl.duals:
        for member in interface.members:
            out.append(_thunk(interface, member))
        if interface.members:
            names = "".join(f"    {_thunk_name(interface, member)},\n"
                            for member in interface.members)
            out.append(f"\nconst InvokeThunk k{interface.name}Thunks[] = {{\n{names}}};\n")
    rows = "".join(f"    k{interface.name}Thunks,\n" if interface.dual and interface.members
                   else f"    nullptr,  // {interface.name}\n" for interface in idl.interfaces)
    out.append("\n// Parallel to kLibrary.interfaces.\n"
               f"const InvokeThunk* const kThunks[] = {{\n{rows}}};\n\n"
               "}  // namespace\n\n"
               "const InvokeThunk* FindInvokeThunks(const Interface& iface) {\n"
               "  for (size_t i = 0; i < kLibrary.interfaces.size(); ++i) {\n"
               "    if (&kLibrary.interfaces[i] == &iface) return kThunks[i];\n"
               "  }\n"
               "  return nullptr;\n"
               "}\n\n"
               "}  // namespace vantrel::idl\n")
    return "".join(out)


def _thunk_name(interface, member):
    return f"{interface.name}_{member.cpp_name}"


def _argument(param, index):
    base = param.base
    slot = f"&args[{index}]"
    if base.kind == "variant":
        return f"args[{index}]"
    if base.kind == "enum":
        return f"static_cast<{base.cpp}>(V_I4({slot}))"
    if base.kind == "interface" and base.idl not in ("IUnknown", "IDispatch"):
        return f"static_cast<{base.cpp}*>(V_DISPATCH({slot}))"
    return f"{base.accessor}({slot})"


def _thunk(interface, member):
    arguments = [_argument(param, index) for index, param in enumerate(member.inputs)]
    call = f"static_cast<{interface.name}*>(instance)->{member.cpp_name}"
    head = (f"\nHRESULT {_thunk_name(interface, member)}(void* instance, "
            "[[maybe_unused]] VARIANT* args, [[maybe_unused]] VARIANT* result) {\n")
    retval = member.retval
    if retval is None:
        return f"{head}  return {call}({', '.join(arguments)});\n}}\n"
    if retval.base.kind == "variant":
        return f"{head}  return {call}({', '.join(arguments + ['result'])});\n}}\n"
    local_type = retval.base.cpp + "*" * (retval.pointers - 1)
    return (f"{head}  {local_type} value{{}};\n"
            f"  const HRESULT hr = {call}({', '.join(arguments + ['&value'])});\n"
            f"  V_VT(result) = {retval.base.vt};\n"
            f"  {retval.base.accessor}(result) = value;\n"
            "  return hr;\n}\n")
