// Keeps standard output for the tool's results.
#pragma once

#include <cstdio>

// From now on, whatever else prints to standard output, as the library does, goes to
// standard error. Returns the stream that leads to the real standard output; the caller
// closes it. Null, with errno, when it cannot be had.
std::FILE* take_standard_output();

// The same for work in which what the library prints is of no use to anybody: it goes
// nowhere.
std::FILE* take_standard_output_and_hush();
