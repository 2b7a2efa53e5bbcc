#include "support/TemporaryFolder.h"

#include <stdlib.h>
#include <unistd.h>  // of mkdtemp, on the Mac

#include <stdexcept>
#include <string>
#include <system_error>

namespace vesk::testing {

TemporaryFolder::TemporaryFolder() {
  std::string name = std::filesystem::temp_directory_path() / "vesk-test-XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder: " + name);
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace vesk::testing
