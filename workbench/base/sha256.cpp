#include "base/sha256.h"

#include <sha256.h>

#include <array>

#include "base/errors.h"

namespace wgr {

std::string sha256(std::string_view bytes) {
  std::array<char, SHA256_DIGEST_STRING_LENGTH> digits;
  SHA256Data(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), digits.data());
  return digits.data();
}

std::string sha256_of_file(const std::string& path) {
  std::array<char, SHA256_DIGEST_STRING_LENGTH> digits;
  if (SHA256File(path.c_str(), digits.data()) == nullptr) {
    throw UsageError(path + ": cannot be read");
  }
  return digits.data();
}

}  // namespace wgr
