#include "unit/scratch.h"

#include <random>
#include <sstream>

namespace vantrel::testing {

std::string UniqueName(std::string_view prefix) {
  std::random_device random;
  std::uniform_int_distribution<uint64_t> digits;
  std::ostringstream name;
  name << prefix << std::hex << digits(random);
  return name.str();
}

ScratchFolder::ScratchFolder()
    : path_(std::filesystem::temp_directory_path() / UniqueName("vantrel-test-")) {
  std::filesystem::create_directories(path_);
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace vantrel::testing
