#include "cli/temporary_directory.h"

#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace cli {

TemporaryDirectory::TemporaryDirectory() {
  std::error_code error;
  std::filesystem::path parent = std::filesystem::temp_directory_path(error);
  if (error) {
    parent = "/tmp";
  }
  path_ = (parent / "csm-XXXXXX").string();
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::runtime_error("cannot make a temporary directory in \"" + parent.string() +
                             "\": " + std::generic_category().message(errno));
  }
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace cli
