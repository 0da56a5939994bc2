#include "base/printing.h"

#include <cstdarg>
#include <cstdio>

#include "base/held_signals.h"

namespace wgr {

void print(const char* format, ...) {
  HeldSignals held;
  std::va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it overlooks the line before
  std::vprintf(format, arguments);
  va_end(arguments);
  std::fflush(stdout);
  held.drop();
}

}  // namespace wgr
