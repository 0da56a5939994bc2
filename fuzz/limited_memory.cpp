#include "limited_memory.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

// Bytes that may still be taken, while `limited`. What was allocated before and is freed
// meanwhile adds to it. Of one thread, so that others are not held to it.
static thread_local bool limited = false;
static thread_local long long left = 0;

LimitedMemory::LimitedMemory(std::size_t bytes) {
  left = static_cast<long long>(bytes);
  limited = true;
}

LimitedMemory::~LimitedMemory() { limited = false; }

// Null when there is not enough.
static void* take(std::size_t size) {
  if (limited && (left < 0 || size > static_cast<unsigned long long>(left))) {
    return nullptr;
  }
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (limited && memory != nullptr) {
    left -= static_cast<long long>(malloc_usable_size(memory));
  }
  return memory;
}

static void* take_or_throw(std::size_t size) {
  void* const memory = take(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

static void give_back(void* memory) {
  if (limited && memory != nullptr) {
    left += static_cast<long long>(malloc_usable_size(memory));
  }
  std::free(memory);
}

// All of the program's, the library's among them, in every form in which sanitizers have
// one of their own.
void* operator new(std::size_t size) { return take_or_throw(size); }
void* operator new[](std::size_t size) { return take_or_throw(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return take(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return take(size);
}
void operator delete(void* memory) noexcept { give_back(memory); }
void operator delete[](void* memory) noexcept { give_back(memory); }
void operator delete(void* memory, std::size_t) noexcept { give_back(memory); }
void operator delete[](void* memory, std::size_t) noexcept { give_back(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { give_back(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  give_back(memory);
}
