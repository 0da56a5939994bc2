// Messages on standard output.
#pragma once

namespace wgr {

// Prints as printf() does, and passes it on at once: nothing of it is left for the host's
// next flush, or its end, to stumble over. Where it cannot be written it is dropped, and
// no signal of it reaches the host.
[[gnu::format(printf, 1, 2)]] void print(const char* format, ...);

}  // namespace wgr
