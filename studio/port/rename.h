// What the C library for WebAssembly lacks of files: the exchange of two names, which
// callers do without where a file system cannot do it.
#pragma once

#include <cerrno>

#define RENAME_EXCHANGE 2

inline int renameat2(int, const char*, int, const char*, unsigned) {
  errno = ENOSYS;
  return -1;
}
