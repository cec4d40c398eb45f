#include "base/concurrency/FreeMemory.h"

#ifndef QUILLON_OTHER_ALLOCATOR
#include <malloc.h>
#endif

namespace PlatformAbstraction {

#ifdef QUILLON_OTHER_ALLOCATOR

// A sanitizer brings its own allocator. The C library's has never been used then, and takes questions of
// several threads badly.
std::size_t CountFreeBytes() noexcept {
    return 0;
}

void ReturnFreeMemory() noexcept {}

#else

std::size_t CountFreeBytes() noexcept {
    return mallinfo2().fordblks;
}

void ReturnFreeMemory() noexcept {
    malloc_trim(0);
}

#endif

}  // namespace PlatformAbstraction
