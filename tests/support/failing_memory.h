// Lets one allocation of the program fail, and counts the blocks that are not freed.
//
// A test program that lists failing_memory.cpp among its sources has operator new
// replaced, for the library and the C++ library below it too; and calloc(), by which the
// C library notes what a thread has to destroy, unless a checker of memory needs it for
// itself.
#pragma once

// The n-th allocation of this thread from now on fails, once; 0: none does.
void fail_allocation(long n);

// Allocations of this thread since then.
long allocations();

// Blocks that operator new has given and nobody has put back.
long live_blocks();

// False where something else, such as valgrind, gives the memory: then nothing fails.
bool allocations_can_fail();
