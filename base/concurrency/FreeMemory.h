#pragma once

#include <cstddef>

namespace PlatformAbstraction {

/// Bytes that were freed, and that the C library's allocator keeps for later. It looks through all of its
/// heaps.
std::size_t CountFreeBytes() noexcept;

/// Gives them back to the system, as far as they make up whole pages. Any thread may call both.
void ReturnFreeMemory() noexcept;

}  // namespace PlatformAbstraction
