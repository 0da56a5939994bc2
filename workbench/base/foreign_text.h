// Text from outside, such as paths, labels and lines of files, made fit for a message.
//
// Whatever bytes it holds, what is shown is UTF-8 and moves no cursor, sets no colour and
// turns no direction of writing on a terminal. HTML and JSON have their own escapes,
// where they are written.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace wgr {

bool is_utf8(std::string_view text);

// The text with \xNN in place of each byte that is not UTF-8 or belongs to a control
// character.
std::string shown(std::string_view text);

// No more than `most` bytes of it, whole characters, shown; "..." where some are left
// out.
std::string shortened(std::string_view text, size_t most);

// A line's content in quotes, shortened to what a message can hold.
std::string quoted(std::string_view text);

}  // namespace wgr
