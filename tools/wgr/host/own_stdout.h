// Keeps standard output for the tool's results.
#pragma once

#include <cstdio>

// From now on, whatever else prints to standard output, as the library does, goes to
// standard error. Returns the stream that leads to the real standard output; the caller
// closes it. Null, with errno, when it cannot be had.
std::FILE* take_standard_output();
