#pragma once

namespace PlatformAbstraction {

/// Stands around a piece of work on the present thread. Where the work claimed memory from the system and
/// much of what the process holds lies idle when it is over, that goes back to the system: what one huge
/// message took is not kept for good. Costs one cheap system call. Work that was no burden ends as if
/// nothing were.
class MemoryWatch {
public:
    MemoryWatch() = default;
    ~MemoryWatch();
    MemoryWatch(const MemoryWatch&) = delete;
    MemoryWatch& operator=(const MemoryWatch&) = delete;
};

/// From now on a large block lies in pages of its own, which go back to the system as soon as it is freed.
/// Left to itself the C library's allocator learns, from the first one that is freed, to keep such blocks.
/// For the start of the process.
void KeepLargeBlocksApart() noexcept;

/// Gives what was freed, and is only kept for later, back to the system, as far as it makes up whole pages.
/// Any thread may call.
void ReturnFreeMemory() noexcept;

}  // namespace PlatformAbstraction
