#include "support/failing_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

static thread_local long calls_so_far[kCalls];
static thread_local Call failing_call = Call::kOpen;
static thread_local long failing_turn = 0;
static thread_local int failing_error = 0;

// 0, or how this call is to fail.
static int failure_of(Call call) {
  const long turn = ++calls_so_far[static_cast<int>(call)];
  return call == failing_call && turn == failing_turn ? failing_error : 0;
}

void fail_call(Call call, long n, int error) {
  for (long& count : calls_so_far) count = 0;
  failing_call = call;
  failing_turn = n;
  failing_error = error;
}

long calls(Call call) { return calls_so_far[static_cast<int>(call)]; }

template <class Function>
static Function* behind(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
#define BEHIND(name) behind(&name, #name)

template <class Answer>
static Answer refuse(int error, Answer answer) {
  errno = error;
  return answer;
}

extern "C" {

int open(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (const int error = failure_of(Call::kOpen)) return refuse(error, -1);
  return BEHIND(open)(path, flags, mode);
}

FILE* fopen(const char* path, const char* mode) {
  if (const int error = failure_of(Call::kOpenStream)) return refuse(error, nullptr);
  return BEHIND(fopen)(path, mode);
}

#ifdef __USE_LARGEFILE64
FILE* fopen64(const char* path, const char* mode) {
  if (const int error = failure_of(Call::kOpenStream)) return refuse(error, nullptr);
  return BEHIND(fopen64)(path, mode);
}
#endif

ssize_t read(int fd, void* to, size_t size) {
  const int error = failure_of(Call::kRead);
  if (error > 0) return refuse<ssize_t>(error, -1);
  return BEHIND(read)(fd, to, error == kShort && size > 0 ? 1 : size);
}

ssize_t writev(int fd, const iovec* parts, int count) {
  const int error = failure_of(Call::kWrite);
  if (error > 0) return refuse<ssize_t>(error, -1);
  if (error == kShort) return write(fd, parts->iov_base, parts->iov_len > 0 ? 1 : 0);
  return BEHIND(writev)(fd, parts, count);
}

int close(int fd) {
  const int error = failure_of(Call::kClose);
  const int answer = BEHIND(close)(fd);
  return error > 0 ? refuse(error, -1) : answer;
}

int fclose(FILE* file) {
  const int error = failure_of(Call::kCloseStream);
  const int answer = BEHIND(fclose)(file);
  return error > 0 ? refuse(error, EOF) : answer;
}

char* getcwd(char* path, size_t size) noexcept {
  if (const int error = failure_of(Call::kGetcwd)) return refuse<char*>(error, nullptr);
  return BEHIND(getcwd)(path, size);
}

int chdir(const char* path) noexcept {
  if (const int error = failure_of(Call::kChdir)) return refuse(error, -1);
  return BEHIND(chdir)(path);
}
}
