#include "base/sha256.h"

#include <sha256.h>

#include <array>
#include <fstream>
#include <iterator>

#include "base/errors.h"

namespace wgr {

std::string sha256(std::string_view bytes) {
  std::array<char, SHA256_DIGEST_STRING_LENGTH> digits;
  SHA256Data(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), digits.data());
  return digits.data();
}

std::string sha256_of_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file),
                          std::istreambuf_iterator<char>()};
  if (!file) throw UsageError(path + ": cannot be read");
  return sha256(bytes);
}

}  // namespace wgr
