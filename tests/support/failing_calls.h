// Lets one call of the system fail, of those by which the library reads and writes files.
//
// A test program that lists failing_calls.cpp among its sources has these calls replaced,
// for the library and the C++ library below it too.
#pragma once

enum class Call {
  kOpen,
  kOpenStream,
  kRead,
  kWrite,
  kClose,
  kCloseStream,
  kGetcwd,
  kChdir
};
inline constexpr int kCalls = 8;

// Instead of an errno: the call moves one byte, and says so.
inline constexpr int kShort = -1;

// The n-th call of this kind from now on fails with `error`, once; 0: none does. A close
// that fails has closed all the same, as on Linux.
void fail_call(Call call, long n, int error);

// Calls of this kind since then.
long calls(Call call);
