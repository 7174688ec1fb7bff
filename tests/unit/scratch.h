// Unique names and scratch folders, so that tests running at once (or left
// behind by a killed run) never share a mutex, a key or a file.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vantrel::testing {

// A name no other test run uses: the prefix and random hexadecimal digits.
std::string UniqueName(std::string_view prefix);

// A fresh, empty folder under the system's temporary folder, removed with the object.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace vantrel::testing
