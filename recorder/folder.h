// The folder that holds the captures of all runs, and the bound on their sizes.
#pragma once

#include <cstdint>

namespace wgr::recorder {

inline constexpr char kSuffix[] = ".wgrcap";

// Whether the captures and `more` bytes are within `most`. With `drops` the oldest are
// removed until they are, but not the file `open`.
bool make_space(const char* folder, std::uint64_t more, std::uint64_t most, bool drops,
                const char* open);

}  // namespace wgr::recorder
