#!/usr/bin/env python3
"""Generates the C++ the library builds from its IDL.

  idlgen.py --idl idl/vantrel.idl --out DIR --target linux|windows

Both targets: vantrel_members.h/.cc and vantrel_stubs.h. Linux also: vantrel.h,
vantrel_i.cc and vantrel_dispatch.cc (on Windows widl writes the header and
identifiers). A file is rewritten only when its text changes, so that an
unchanged surface rebuilds nothing. A fault in the IDL prints
`file:line: error: message` and exits with status 1."""
import argparse
import os
import sys

# Run from the build: keep the source tree free of compiled modules.
sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import emit_linux  # noqa: E402
import emit_tables  # noqa: E402
from idl_lexer import IdlError  # noqa: E402
from idl_parser import parse_file  # noqa: E402


def outputs(idl, target):
    """{file name: text} of everything generated for `target`."""
    files = {
        "vantrel_members.h": emit_tables.members_header(idl),
        "vantrel_members.cc": emit_tables.members_source(idl),
        "vantrel_stubs.h": emit_tables.stubs_header(idl),
    }
    if target == "linux":
        files["vantrel.h"] = emit_linux.header(idl)
        files["vantrel_i.cc"] = emit_linux.identifiers(idl)
        files["vantrel_dispatch.cc"] = emit_linux.dispatch(idl)
    return files


def write_if_changed(path, text):
    """Writes `text` to `path` unless the file already holds it. True when written."""
    try:
        with open(path, encoding="utf-8", newline="") as existing:
            if existing.read() == text:
                return False
    except FileNotFoundError:
        pass
    temporary = path + ".tmp"
    with open(temporary, "w", encoding="utf-8", newline="") as out:
        out.write(text)
    os.replace(temporary, path)
    return True


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--idl", required=True, help="the IDL file")
    parser.add_argument("--out", required=True, help="the folder for the generated files")
    parser.add_argument("--target", required=True, choices=("linux", "windows"))
    options = parser.parse_args(argv)
    try:
        idl = parse_file(options.idl)
    except IdlError as error:
        print(error, file=sys.stderr)
        return 1
    except OSError as error:
        print(f"{options.idl}: error: {error.strerror}", file=sys.stderr)
        return 1
    os.makedirs(options.out, exist_ok=True)
    for name, text in outputs(idl, options.target).items():
        write_if_changed(os.path.join(options.out, name), text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
