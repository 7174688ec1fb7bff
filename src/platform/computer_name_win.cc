#include "platform/computer_name.h"

#include <windows.h>

#include <algorithm>

#include "platform/wide_text_win.h"

namespace vantrel::platform {
namespace {

std::string ComputerNameOfFormat(COMPUTER_NAME_FORMAT format) {
  DWORD size = 0;
  GetComputerNameExW(format, nullptr, &size);  // asks for the size, counting the zero
  if (size == 0) return {};
  std::wstring name(size, L'\0');
  if (!GetComputerNameExW(format, name.data(), &size)) return {};
  name.resize(size);
  return Narrow(name);
}

}  // namespace

std::vector<std::string> LocalComputerNames() {
  std::vector<std::string> names;
  for (COMPUTER_NAME_FORMAT format :
       {ComputerNameNetBIOS, ComputerNameDnsHostname, ComputerNameDnsFullyQualified}) {
    std::string name = ComputerNameOfFormat(format);
    if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end())
      names.push_back(std::move(name));
  }
  return names;
}

}  // namespace vantrel::platform
