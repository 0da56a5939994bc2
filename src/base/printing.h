// Messages on standard output.
#pragma once

namespace wgr {

// Prints as printf() does, and flushes at once: nothing is left on which the host's next
// flush, or its end, could fail. Where it cannot be written it is dropped, and no signal
// of it reaches the host.
[[gnu::format(printf, 1, 2)]] void print(const char* format, ...);

}  // namespace wgr
