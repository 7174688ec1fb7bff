"""PlatformResult, the answer of every platform call: with both compilers and
the build's -Werror, dropping it does not compile; using it as a long, or
dropping it through IgnoreResult, does."""
import os
import shutil
import subprocess

import pytest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
COMPILERS = [c for c in ("g++", "x86_64-w64-mingw32-g++-posix") if shutil.which(c)]

PRELUDE = """
#include "platform/win32_errors.h"
using vantrel::platform::PlatformResult;
PlatformResult Call();
struct Port { virtual ~Port() = default; virtual PlatformResult Write() = 0; };
"""

ACCEPTED = """
long Kept() {
  if (const long error = Call()) return error;
  vantrel::platform::IgnoreResult(Call());
  return Call() == vantrel::platform::kErrorSuccess ? 0 : 1;
}
PlatformResult Passed() { return vantrel::platform::kErrorAccessDenied; }
"""

DROPPED = {
    "a free function": "void Dropped() { Call(); }",
    "a virtual member": "void Dropped(Port& port) { port.Write(); }",
}


def compiles(compiler, tmp_path, body):
    source = tmp_path / "snippet.cc"
    source.write_text(PRELUDE + body)
    done = subprocess.run([compiler, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror",
                           "-I", os.path.join(ROOT, "src"), str(source)],
                          capture_output=True, text=True)
    return done.returncode == 0, done.stderr


@pytest.mark.skipif(not COMPILERS, reason="no C++ compiler")
@pytest.mark.parametrize("compiler", COMPILERS)
def test_results_used_or_ignored_by_name_compile(compiler, tmp_path):
    ok, errors = compiles(compiler, tmp_path, ACCEPTED)
    assert ok, errors


@pytest.mark.skipif(not COMPILERS, reason="no C++ compiler")
@pytest.mark.parametrize("compiler", COMPILERS)
@pytest.mark.parametrize("case", sorted(DROPPED))
def test_a_dropped_result_does_not_compile(compiler, case, tmp_path):
    ok, errors = compiles(compiler, tmp_path, DROPPED[case])
    assert not ok, f"{case} dropped its result and still compiled"
    assert "nodiscard" in errors
