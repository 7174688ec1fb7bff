"""scripts/check-member-frames on small sample classes: bodies that hand all
their work to the frame pass, anything done before or after it is named."""
import os
import subprocess
import sys

import pytest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
CHECK = os.path.join(ROOT, "scripts", "check-member-frames")
IDL = os.path.join(ROOT, "idl", "vantrel.idl")

HEADER = """
class Kesto : public frame::AutomationObject<IKestoStubs, IID_IKesto, CLSID_Kesto> {
 public:
  HRESULT FinalConstruct();
  STDMETHODIMP get_Version(BSTR* retVersion) override;
  STDMETHODIMP get_Platform(BSTR* retPlatform) override;
  void Helper();  // not an interface member: free to do anything
};
"""

GOOD_VERSION = """
STDMETHODIMP Kesto::get_Version(BSTR* retVersion) {
  // a comment with if (x) and Call() in it
  return Member("Kesto::get_Version", [&] { if (retVersion == nullptr) Throw(kInvalidArgument); });
}
"""

GOOD_PLATFORM = """
STDMETHODIMP Kesto::get_Platform(BSTR* retPlatform) {
  HRESULT passed_on = S_OK;
  const HRESULT hr = Member("Kesto::get_Platform", [&] { passed_on = Inner(retPlatform); });
  return FAILED(hr) ? hr : passed_on;
}
void Kesto::Helper() { if (Ready()) Go(); }
"""

FAULTS = {
    "checks its argument before the frame": """
STDMETHODIMP Kesto::get_Version(BSTR* retVersion) {
  if (retVersion == nullptr) return E_POINTER;
  return Member("Kesto::get_Version", [&] { *retVersion = Make(); });
}""",
    "runs work after the frame": """
STDMETHODIMP Kesto::get_Version(BSTR* retVersion) {
  const HRESULT hr = Member("Kesto::get_Version", [&] {});
  return FAILED(hr) ? hr : Fill(retVersion);
}""",
    "has no frame at all": """
STDMETHODIMP Kesto::get_Version(BSTR* retVersion) {
  *retVersion = SysAllocString(L"1");
  return S_OK;
}""",
    "drops the frame's result": """
STDMETHODIMP Kesto::get_Version(BSTR* retVersion) {
  Member("Kesto::get_Version", [&] {});
  return S_OK;
}""",
    "names another member in its frame": """
STDMETHODIMP Kesto::get_Version(BSTR* retVersion) {
  return Member("Kesto::get_Platform", [&] {});
}""",
    "calls through a pointer before the frame": """
STDMETHODIMP Kesto::get_Version(BSTR* retVersion) {
  const HRESULT early = helper_->Prepare();
  return Member("Kesto::get_Version", [&] {});
}""",
}


def run_check(tmp_path, *sources):
    folder = tmp_path / "src" / "server"
    folder.mkdir(parents=True)
    (folder / "kesto.h").write_text(HEADER)
    (folder / "kesto.cc").write_text("\n".join(sources))
    return subprocess.run([sys.executable, CHECK, "--root", str(tmp_path), "--idl", IDL,
                           "src/server"], capture_output=True, text=True)


def test_members_inside_the_frame_pass(tmp_path):
    done = run_check(tmp_path, GOOD_VERSION, GOOD_PLATFORM)
    assert done.returncode == 0, done.stdout
    assert done.stdout.splitlines()[-1] == "2 passed, 0 failed"


@pytest.mark.parametrize("fault", sorted(FAULTS))
def test_a_member_outside_the_frame_fails_the_check(tmp_path, fault):
    done = run_check(tmp_path, FAULTS[fault], GOOD_PLATFORM)
    assert done.returncode == 1, f"{fault}: {done.stdout}"
    assert "Kesto::get_Version runs outside the error frame" in done.stdout
    assert done.stdout.splitlines()[-1] == "1 passed, 1 failed"


def test_an_inline_member_in_the_header_is_checked(tmp_path):
    folder = tmp_path / "src" / "server"
    folder.mkdir(parents=True)
    (folder / "kesto.h").write_text(HEADER.replace(
        "STDMETHODIMP get_Platform(BSTR* retPlatform) override;",
        "STDMETHODIMP get_Platform(BSTR* retPlatform) override { return E_NOTIMPL; }"))
    (folder / "kesto.cc").write_text(GOOD_VERSION)
    done = subprocess.run([sys.executable, CHECK, "--root", str(tmp_path), "--idl", IDL,
                           "src/server"], capture_output=True, text=True)
    assert done.returncode == 1
    assert "Kesto::get_Platform runs outside the error frame: no frame call" in done.stdout


def test_a_tree_without_automation_classes_is_a_failure(tmp_path):
    (tmp_path / "src").mkdir()
    done = subprocess.run([sys.executable, CHECK, "--root", str(tmp_path), "--idl", IDL, "src"],
                          capture_output=True, text=True)
    assert done.returncode == 1
    assert done.stdout.splitlines()[-1] == "0 passed, 1 failed"
