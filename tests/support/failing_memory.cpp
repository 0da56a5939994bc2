#include "support/failing_memory.h"

#include <cerrno>
#include <cstdlib>
#include <new>

// Plain numbers: what has a constructor would need memory when it is first used.
static thread_local long allocations_so_far = 0;
static thread_local long failing = 0;
static long blocks = 0;

static bool fails() { return ++allocations_so_far == failing; }

void fail_allocation(long n) {
  allocations_so_far = 0;
  failing = n;
}

long allocations() { return allocations_so_far; }
long live_blocks() { return __atomic_load_n(&blocks, __ATOMIC_RELAXED); }

bool allocations_can_fail() {
  fail_allocation(1);
  bool failed = false;
  try {
    // Through a pointer that the compiler cannot see through, or it leaves both out.
    void* (*volatile get)(std::size_t) = operator new;
    void (*volatile put)(void*) = operator delete;
    put(get(8));
  } catch (const std::bad_alloc&) {
    failed = true;
  }
  fail_allocation(0);
  return failed;
}

void* operator new(std::size_t size) {
  void* const block = fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  __atomic_add_fetch(&blocks, 1, __ATOMIC_RELAXED);
  return block;
}

void* operator new[](std::size_t size) { return operator new(size); }

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void operator delete(void* block) noexcept {
  if (block != nullptr) __atomic_sub_fetch(&blocks, 1, __ATOMIC_RELAXED);
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }

#if !defined(WGR_SANITIZED)

// What the C library itself has behind the name.
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);

extern "C" void* calloc(std::size_t count, std::size_t size) noexcept {
  if (!fails()) return __libc_calloc(count, size);
  errno = ENOMEM;
  return nullptr;
}

#endif
