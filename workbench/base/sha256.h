// The SHA-256 of files (FIPS 180-4), by which a manifest names its inputs.
#pragma once

#include <string>
#include <string_view>

namespace wgr {

// 64 hexadecimal digits.
std::string sha256(std::string_view bytes);

// Throws UsageError when the file cannot be read.
std::string sha256_of_file(const std::string& path);

}  // namespace wgr
