"""Rules the whole IDL must keep once it is read: every name defined once,
parameters the dispatch code can carry, DISPIDs that name one member."""
from idl_lexer import IdlError


def check(idl, forward):
    _check_definitions(idl, forward)
    duals = {interface.name for interface in idl.duals}
    for interface in idl.interfaces:
        _check_dispids(idl.path, interface)
        for member in interface.members:
            _check_member(idl.path, interface, member, duals)
    for coclass in idl.coclasses:
        _check_coclass(idl, coclass)


def _check_definitions(idl, forward):
    seen = {}
    for item in idl.interfaces + idl.enums + idl.coclasses:
        if item.name in seen:
            raise IdlError(idl.path, item.line, f"'{item.name}' is defined twice "
                           f"(first on line {seen[item.name]})")
        seen[item.name] = item.line
    uuids = {}
    for item in idl.interfaces + idl.coclasses:
        if item.uuid in uuids:
            raise IdlError(idl.path, item.line, f"uuid {item.uuid} of '{item.name}' is "
                           f"already used by '{uuids[item.uuid]}'")
        uuids[item.uuid] = item.name
    defined = {interface.name for interface in idl.interfaces}
    for name, line in forward.items():
        if name not in defined:
            raise IdlError(idl.path, line, f"interface '{name}' is declared but never defined")


def _check_member(path, interface, member, duals):
    params = member.params
    for index, param in enumerate(params):
        where = f"parameter {param.name} of {interface.name}.{member.name}"
        if param.is_retval and (not param.is_out or index != len(params) - 1):
            raise IdlError(path, param.line, f"{where}: retval must be the last parameter and "
                           "[out]")
        if param.is_out and not param.is_retval:
            raise IdlError(path, param.line, f"{where}: only [out, retval] outputs are supported")
        if param.is_in and param.is_out:
            raise IdlError(path, param.line, f"{where}: [in, out] is not supported")
        if param.is_optional and (param.base.kind != "variant" or not param.is_in):
            raise IdlError(path, param.line, f"{where}: only [in] VARIANT may be optional")
        if index > 0 and params[index - 1].is_optional and param.is_in and not param.is_optional:
            raise IdlError(path, param.line, f"{where}: follows an optional parameter and must "
                           "be optional too")
        if param.base.kind == "interface" and param.base.idl not in ("IUnknown", "IDispatch") \
                and param.base.idl not in duals:
            raise IdlError(path, param.line, f"{where}: '{param.base.idl}' is not a dual "
                           "interface")
        _check_pointers(path, where, param)
    if not interface.dual and any(not param.is_in for param in params):
        raise IdlError(path, member.line, f"{interface.name}.{member.name}: event parameters "
                       "must be [in]")
    _check_kind(path, interface, member)


def _check_pointers(path, where, param):
    expected = 1 if param.base.kind == "interface" else 0
    if param.is_out:
        expected += 1
    if param.pointers != expected:
        raise IdlError(path, param.line, f"{where}: expected type {param.base.idl}"
                       f"{'*' * expected}, found {param.base.idl}{'*' * param.pointers}")


def _check_kind(path, interface, member):
    where = f"{interface.name}.{member.name}"
    if member.kind == "propget" and member.retval is None:
        raise IdlError(path, member.line, f"{where}: a propget needs an [out, retval] parameter")
    if member.kind in ("propput", "propputref"):
        if member.retval is not None or not member.inputs:
            raise IdlError(path, member.line, f"{where}: a {member.kind} takes its value as the "
                           "last [in] parameter and returns nothing")


def _check_dispids(path, interface):
    by_dispid = {}
    by_name = {}
    for member in interface.members:
        where = f"{interface.name}.{member.name}"
        other = by_name.get(member.name.lower())
        if other is not None and other.dispid != member.dispid:
            raise IdlError(path, member.line, f"{where}: id({member.dispid}) differs from "
                           f"id({other.dispid}) of the same name on line {other.line}")
        for other in by_dispid.get(member.dispid, []):
            if other.name != member.name or member.kind == "method" or other.kind == "method":
                raise IdlError(path, member.line, f"{where}: id({member.dispid}) is already "
                               f"used by {other.name} on line {other.line}")
            if other.kind == member.kind:
                raise IdlError(path, member.line, f"{where}: {member.kind} is declared twice")
        by_dispid.setdefault(member.dispid, []).append(member)
        by_name.setdefault(member.name.lower(), member)


def _check_coclass(idl, coclass):
    kinds = {interface.name: interface.dual for interface in idl.interfaces}
    if coclass.default_interface and kinds.get(coclass.default_interface) is not True:
        raise IdlError(idl.path, coclass.line, f"coclass {coclass.name}: default interface "
                       f"'{coclass.default_interface}' is not a dual interface of this file")
    if coclass.source_interface and kinds.get(coclass.source_interface) is not False:
        raise IdlError(idl.path, coclass.line, f"coclass {coclass.name}: source "
                       f"'{coclass.source_interface}' is not a dispinterface of this file")
