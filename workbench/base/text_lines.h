// Lines of text files in bounded memory, whatever the files are.
#pragma once

#include <cstddef>
#include <istream>
#include <string>

// The most characters of a line where lines may be long; a file with more in one, such as
// /dev/zero, has no line breaks.
inline constexpr size_t kLineLimit = size_t{32} << 20;

namespace wgr {

// The next line without its break; false at the end. Of a line with more than `most`
// characters enough is kept to show it: reading then ends, for the caller to refuse it.
bool next_line(std::istream& file, std::string& line, size_t most);

}  // namespace wgr
