#pragma once

#include <cstddef>
#include <memory>

namespace CoreServices::Tree {

// Memory in one piece, aligned for all scalars. Pieces of `kLeastMapped` bytes and more are mapped from the
// system and go back to it at once when they are freed; smaller ones come from the heap.

inline constexpr std::size_t kLeastMapped = 128 * 1024;

/// Throws `std::bad_alloc`.
void* AllocateBlock(std::size_t size);
/// `size` as it was when the block was allocated, or made smaller.
void FreeBlock(void* pBlock, std::size_t size) noexcept;
/// Gives the system back what lies behind the first `size` bytes, as far as it takes it; the new size.
std::size_t ShrinkBlock(void* pBlock, std::size_t oldSize, std::size_t size) noexcept;
/// What a block of this size takes, with what the system and the heap add to it.
std::size_t BlockCost(std::size_t size) noexcept;

struct BlockDeleter {
    std::size_t size = 0;
    void operator()(void* pBlock) const noexcept { FreeBlock(pBlock, size); }
};
using UniqueBlock = std::unique_ptr<void, BlockDeleter>;

}  // namespace CoreServices::Tree
