// The files in a ZIP archive, as phones' apps export logs.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "recording/recording.h"

namespace wgr {

bool is_zip(std::string_view bytes);

// Hands out each file that `wanted` is true for, in the archive's order. `name` is the
// archive's, for messages. Throws RecordingError for an archive that is broken, encrypted
// or larger than 4 GB, and at the limit.
void unpack_zip(
    const std::string& name, std::string_view bytes, ReadingLimit& limit,
    const std::function<bool(const std::string& file)>& wanted,
    const std::function<void(const std::string& file, std::string bytes)>& take);

}  // namespace wgr
