"""Reads the subset of IDL that describes the library's automation surface.

Anything outside that subset stops the build with the file, the line and one
message: a construct the generator silently skipped would leave the Linux
build describing a different surface than the type library widl builds."""
from idl_lexer import IdlError, tokenize, unquote
from idl_model import (Coclass, Enum, EnumValue, Idl, Interface, Library, Member, Param,
                       VALUE_TYPES, enum_type, library_interface_type)
import idl_checks

STANDARD_IMPORTS = {"oaidl.idl", "ocidl.idl", "objidl.idl", "unknwn.idl", "wtypes.idl"}
STANDARD_TYPE_LIBRARIES = {"stdole2.tlb", "stdole32.tlb"}

# The attributes each construct may carry; any other is an error.
INTERFACE_ATTRIBUTES = {"object", "uuid", "dual", "nonextensible", "oleautomation", "helpstring",
                        "pointer_default", "hidden"}
DISPINTERFACE_ATTRIBUTES = {"uuid", "helpstring", "hidden", "nonextensible"}
COCLASS_ATTRIBUTES = {"uuid", "helpstring", "noncreatable"}
LIBRARY_ATTRIBUTES = {"uuid", "version", "helpstring"}
ENUM_ATTRIBUTES = {"uuid", "helpstring", "v1_enum"}
MEMBER_ATTRIBUTES = {"id", "propget", "propput", "propputref", "helpstring", "restricted", "hidden"}
PARAM_ATTRIBUTES = {"in", "out", "retval", "optional"}
COCLASS_ITEM_ATTRIBUTES = {"default", "source"}


class Attribute:
    def __init__(self, name, arguments, line):
        self.name = name
        self.arguments = arguments  # the tokens between the parentheses
        self.line = line


class Parser:
    def __init__(self, text, path):
        self.path = path
        self.tokens = tokenize(text, path)
        self.position = 0
        self.idl = Idl(path)
        self.forward = {}  # name -> line of 'interface X;'

    # --- tokens -------------------------------------------------------------

    def peek(self, offset=0):
        return self.tokens[min(self.position + offset, len(self.tokens) - 1)]

    def next(self):
        token = self.peek()
        self.position += 1
        return token

    def error(self, message, token=None):
        return IdlError(self.path, (token or self.peek()).line, message)

    def at(self, text):
        token = self.peek()
        return token.kind in ("punct", "name") and token.text == text

    def accept(self, text):
        if self.at(text):
            return self.next()
        return None

    def expect(self, text, what=None):
        token = self.peek()
        if not self.at(text):
            found = f"'{token.text}'" if token.kind != "end" else "the end of the file"
            raise self.error(f"expected '{text}'{' ' + what if what else ''}, found {found}")
        return self.next()

    def expect_name(self, what):
        token = self.peek()
        if token.kind != "name":
            raise self.error(f"expected {what}, found '{token.text}'")
        return self.next()

    def expect_kind(self, kind, what):
        token = self.peek()
        if token.kind != kind:
            raise self.error(f"expected {what}, found '{token.text}'")
        return self.next()

    # --- attributes ---------------------------------------------------------

    def attributes(self, allowed, where):
        """The bracketed attribute list at this point (empty when there is none)."""
        found = {}
        if not self.accept("["):
            return found
        while True:
            name = self.expect_name("an attribute")
            if name.text not in allowed:
                raise self.error(f"attribute '{name.text}' is not supported on {where}", name)
            if name.text in found:
                raise self.error(f"attribute '{name.text}' is given twice", name)
            arguments = []
            if self.accept("("):
                depth = 1
                while True:
                    token = self.next()
                    if token.kind == "end":
                        raise self.error(f"attribute '{name.text}' is not closed", name)
                    if token.text == "(" and token.kind == "punct":
                        depth += 1
                    elif token.text == ")" and token.kind == "punct":
                        depth -= 1
                        if depth == 0:
                            break
                    arguments.append(token)
            found[name.text] = Attribute(name.text, arguments, name.line)
            if self.accept("]"):
                return found
            self.expect(",", "or ']' in the attribute list")

    def string_argument(self, attributes, name):
        attribute = attributes.get(name)
        if attribute is None:
            return ""
        if len(attribute.arguments) != 1 or attribute.arguments[0].kind != "string":
            raise IdlError(self.path, attribute.line, f"{name}() takes one string")
        return unquote(attribute.arguments[0])

    def uuid_argument(self, attributes, what):
        attribute = attributes.get("uuid")
        if attribute is None:
            raise self.error(f"{what} has no uuid()")
        if len(attribute.arguments) != 1 or attribute.arguments[0].kind != "guid":
            raise IdlError(self.path, attribute.line, "uuid() takes one GUID")
        return attribute.arguments[0].text.upper()

    def integer(self, tokens, line, what):
        texts = [token.text for token in tokens]
        negative = texts[:1] == ["-"]
        digits = texts[1:] if negative else texts
        if len(digits) != 1 or not _is_integer(digits[0]):
            raise IdlError(self.path, line, f"{what} must be an integer, found '{' '.join(texts)}'")
        value = int(digits[0], 0)
        return -value if negative else value

    # --- statements ---------------------------------------------------------

    def parse(self):
        while self.peek().kind != "end":
            self.statement(in_library=False)
        if self.idl.library is None:
            raise IdlError(self.path, self.peek().line, "the file declares no library")
        idl_checks.check(self.idl, self.forward)
        return self.idl

    def statement(self, in_library):
        token = self.peek()
        if self.accept("import"):
            return self.import_statement()
        if self.at("importlib"):
            if not in_library:
                raise self.error("importlib() belongs inside the library")
            return self.importlib_statement()
        if self.at("typedef"):
            return self.enum_statement()
        if self.at("interface") or self.at("dispinterface"):
            if self.peek(2).text == ";":
                self.next()
                name = self.expect_name("an interface name")
                self.forward.setdefault(name.text, name.line)
                self.expect(";")
                return None
        if self.at("["):
            return self.attributed_statement(in_library)
        raise self.error(f"unexpected '{token.text}'" if token.kind != "end"
                         else "unexpected end of the file")

    def import_statement(self):
        while True:
            name = self.expect_kind("string", "a file name")
            if unquote(name) not in STANDARD_IMPORTS:
                raise self.error(f"import of '{unquote(name)}' is not supported; only the "
                                 "system's IDL files may be imported", name)
            if not self.accept(","):
                break
        self.expect(";")

    def importlib_statement(self):
        self.next()
        self.expect("(")
        name = self.expect_kind("string", "a type library name")
        if unquote(name) not in STANDARD_TYPE_LIBRARIES:
            raise self.error(f"importlib of '{unquote(name)}' is not supported", name)
        self.expect(")")
        self.expect(";")

    def attributed_statement(self, in_library):
        start = self.position
        # Look past the attributes to see what they belong to.
        self.attributes(INTERFACE_ATTRIBUTES | DISPINTERFACE_ATTRIBUTES | COCLASS_ATTRIBUTES
                        | LIBRARY_ATTRIBUTES, "a declaration")
        keyword = self.peek()
        self.position = start
        if keyword.text == "interface":
            return self.interface_statement()
        if keyword.text == "dispinterface":
            return self.dispinterface_statement()
        if keyword.text == "coclass":
            if not in_library:
                raise self.error("a coclass belongs inside the library", keyword)
            return self.coclass_statement()
        if keyword.text == "library":
            if in_library or self.idl.library is not None:
                raise self.error("only one library may be declared", keyword)
            return self.library_statement()
        raise self.error(f"unexpected '{keyword.text}' after an attribute list", keyword)

    def enum_statement(self):
        self.expect("typedef")
        self.attributes(ENUM_ATTRIBUTES, "an enumeration")
        start = self.expect("enum", "(only enumerations may be declared with typedef)")
        tag = self.accept_name()
        self.expect("{")
        values = []
        next_value = 0
        while not self.at("}"):
            name = self.expect_name("an enumerator name")
            text = str(next_value)
            if self.accept("="):
                tokens = []
                while not (self.at(",") or self.at("}")) and self.peek().kind != "end":
                    tokens.append(self.next())
                next_value = self.integer(tokens, name.line, f"the value of {name.text}")
                text = "".join(token.text for token in tokens)
            values.append(EnumValue(name.text, text, next_value))
            next_value += 1
            if not self.accept(","):
                break
        self.expect("}")
        name = self.expect_name("the enumeration's type name")
        if tag is not None and tag.text != name.text:
            raise self.error(f"enumeration tag '{tag.text}' differs from its type name "
                             f"'{name.text}'", name)
        self.expect(";")
        self.idl.enums.append(Enum(name.text, values, start.line))

    def accept_name(self):
        return self.next() if self.peek().kind == "name" else None

    def interface_statement(self):
        attributes = self.attributes(INTERFACE_ATTRIBUTES, "an interface")
        self.expect("interface")
        name = self.expect_name("an interface name")
        # Its own members may refer to it.
        self.forward.setdefault(name.text, name.line)
        if "dual" not in attributes:
            raise self.error(f"interface {name.text} must be dual: only dual interfaces can be "
                             "called through IDispatch", name)
        self.expect(":", "and a base interface")
        base = self.expect_name("a base interface")
        if base.text != "IDispatch":
            raise self.error(f"interface {name.text} must derive from IDispatch", base)
        self.expect("{")
        members = []
        while not self.accept("}"):
            members.append(self.member(dual=True))
        self.accept(";")
        self.idl.interfaces.append(Interface(
            name.text, self.uuid_argument(attributes, f"interface {name.text}"), True,
            self.string_argument(attributes, "helpstring"), members, name.line))

    def dispinterface_statement(self):
        attributes = self.attributes(DISPINTERFACE_ATTRIBUTES, "a dispinterface")
        self.expect("dispinterface")
        name = self.expect_name("a dispinterface name")
        self.expect("{")
        self.expect("properties")
        self.expect(":")
        if not self.at("methods"):
            raise self.error("dispinterface properties are not supported; declare methods only")
        self.expect("methods")
        self.expect(":")
        members = []
        while not self.accept("}"):
            members.append(self.member(dual=False))
        self.accept(";")
        self.idl.interfaces.append(Interface(
            name.text, self.uuid_argument(attributes, f"dispinterface {name.text}"), False,
            self.string_argument(attributes, "helpstring"), members, name.line))

    def coclass_statement(self):
        attributes = self.attributes(COCLASS_ATTRIBUTES, "a coclass")
        self.expect("coclass")
        name = self.expect_name("a coclass name")
        self.expect("{")
        default_interface = source_interface = ""
        while not self.accept("}"):
            item = self.attributes(COCLASS_ITEM_ATTRIBUTES, "a coclass interface")
            keyword = self.peek()
            if not (self.accept("interface") or self.accept("dispinterface")):
                raise self.error(f"expected 'interface' or 'dispinterface', found "
                                 f"'{keyword.text}'")
            interface = self.expect_name("an interface name")
            self.expect(";")
            if "source" in item:
                if source_interface:
                    raise self.error(f"coclass {name.text} has more than one source interface",
                                     interface)
                source_interface = interface.text
            elif "default" in item or not default_interface:
                default_interface = interface.text
            self.forward.setdefault(interface.text, interface.line)
        self.accept(";")
        self.idl.coclasses.append(Coclass(
            name.text, self.uuid_argument(attributes, f"coclass {name.text}"),
            self.string_argument(attributes, "helpstring"), "noncreatable" not in attributes,
            default_interface, source_interface, name.line))

    def library_statement(self):
        attributes = self.attributes(LIBRARY_ATTRIBUTES, "the library")
        self.expect("library")
        name = self.expect_name("the library name")
        major, minor = self.version(attributes.get("version"))
        self.idl.library = Library(name.text, self.uuid_argument(attributes, "the library"),
                                   major, minor, self.string_argument(attributes, "helpstring"))
        self.expect("{")
        while not self.accept("}"):
            if self.peek().kind == "end":
                raise self.error(f"library {name.text} is not closed")
            self.statement(in_library=True)
        self.accept(";")

    def version(self, attribute):
        if attribute is None:
            return 0, 0
        texts = [token.text for token in attribute.arguments]
        parts = texts[0].split(".") if len(texts) == 1 else []
        if len(parts) != 2 or not all(part.isdigit() for part in parts):
            raise IdlError(self.path, attribute.line, "version() takes MAJOR.MINOR")
        return int(parts[0]), int(parts[1])

    # --- members and parameters ---------------------------------------------

    def member(self, dual):
        where = "a member"
        attributes = self.attributes(MEMBER_ATTRIBUTES, where)
        result = self.expect_name("a member's return type")
        if result.text != "HRESULT":
            raise self.error(f"members must return HRESULT, not '{result.text}'", result)
        name = self.expect_name("a member name")
        kinds = [kind for kind in ("propget", "propput", "propputref") if kind in attributes]
        if len(kinds) > 1:
            raise self.error(f"member {name.text} has more than one of propget, propput and "
                             "propputref", name)
        if not dual and kinds:
            raise self.error("dispinterface members must be methods", name)
        if "id" not in attributes:
            raise self.error(f"member {name.text} has no id()", name)
        dispid_attribute = attributes["id"]
        dispid = self.integer(dispid_attribute.arguments, dispid_attribute.line, "id()")
        params = self.params()
        self.expect(";", f"after member {name.text}")
        return Member(name.text, dispid, kinds[0] if kinds else "method",
                      self.string_argument(attributes, "helpstring"), "restricted" in attributes,
                      "hidden" in attributes, params, name.line)

    def params(self):
        self.expect("(")
        if self.accept(")"):
            return []
        if self.at("void") and self.peek(1).text == ")":
            self.next()
            self.next()
            return []
        params = []
        while True:
            params.append(self.param())
            if self.accept(")"):
                return params
            self.expect(",", "or ')' after a parameter")

    def param(self):
        attributes = self.attributes(PARAM_ATTRIBUTES, "a parameter")
        line = self.peek().line
        base, pointers = self.param_type()
        name = self.expect_name("a parameter name")
        if not ("in" in attributes or "out" in attributes):
            raise self.error(f"parameter {name.text} must be [in] or [out]", name)
        return Param(name.text, base, pointers, "in" in attributes, "out" in attributes,
                     "retval" in attributes, "optional" in attributes, line)

    def param_type(self):
        token = self.expect_name("a parameter type")
        if token.text == "unsigned":
            second = self.expect_name("a type after 'unsigned'")
            text = f"unsigned {second.text}"
        elif token.text == "SAFEARRAY":
            self.expect("(")
            inner, inner_pointers = self.param_type()
            self.expect(")")
            text = f"SAFEARRAY({inner.idl}{'*' * inner_pointers})"
        else:
            text = token.text
        pointers = 0
        while self.accept("*"):
            pointers += 1
        return self.resolve_type(text, token), pointers

    def resolve_type(self, text, token):
        if text in VALUE_TYPES:
            return VALUE_TYPES[text]
        if any(enum.name == text for enum in self.idl.enums):
            return enum_type(text)
        if text.startswith("SAFEARRAY("):
            raise self.error(f"type '{text}' is not supported; byte arrays are "
                             "SAFEARRAY(unsigned char)", token)
        if text in self.forward or any(i.name == text for i in self.idl.interfaces):
            return library_interface_type(text)
        raise self.error(f"unknown or unsupported type '{text}'", token)


def _is_integer(text):
    try:
        int(text, 0)
        return True
    except ValueError:
        return False


def parse_file(path):
    """The Idl described by the file at `path`; raises IdlError."""
    with open(path, encoding="utf-8") as source:
        text = source.read()
    return Parser(text, path).parse()


def parse_text(text, path="<text>"):
    return Parser(text, path).parse()
