#include "temporary_folder.h"

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>

TemporaryFolder::TemporaryFolder()
    : path_(std::filesystem::temp_directory_path() / "wgr-XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::runtime_error(path_ + ": a temporary folder cannot be made");
  }
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}
