// What the C library for WebAssembly lacks: random names of temporary files, and signals
// to threads, of which there is one that gets none.
#include <pthread.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>

extern "C" ssize_t getrandom(void* bytes, size_t size, unsigned) {
  return getentropy(bytes, size) == 0 ? static_cast<ssize_t>(size) : -1;
}

extern "C" int pthread_kill(pthread_t, int) { return ENOSYS; }
