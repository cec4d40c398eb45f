#include "base/parameters/Block.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <new>

namespace CoreServices::Tree {

namespace {

constexpr std::size_t kLeastHuge = 4 * 1024 * 1024;

std::size_t RoundUpToPages(std::size_t size) noexcept {
    static const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
}

}  // namespace

void* AllocateBlock(std::size_t size) {
    if (size < kLeastMapped)
        return ::operator new(size);
    void* pBlock =
        ::mmap(nullptr, RoundUpToPages(size), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pBlock == MAP_FAILED)
        throw std::bad_alloc();
    // A wish: thousands of small pages cost more than what is done with them.
    if (size >= kLeastHuge)
        ::madvise(pBlock, RoundUpToPages(size), MADV_HUGEPAGE);
    return pBlock;
}

void FreeBlock(void* pBlock, std::size_t size) noexcept {
    if (size < kLeastMapped)
        ::operator delete(pBlock);
    else
        ::munmap(pBlock, RoundUpToPages(size));
}

std::size_t ShrinkBlock(void* pBlock, std::size_t oldSize, std::size_t size) noexcept {
    if (oldSize < kLeastMapped)
        return oldSize;
    // Not below the least, by which it is known how to free it.
    const std::size_t newEnd = RoundUpToPages(std::max(size, kLeastMapped));
    const std::size_t oldEnd = RoundUpToPages(oldSize);
    if (newEnd < oldEnd)
        ::munmap(static_cast<char*>(pBlock) + newEnd, oldEnd - newEnd);
    return std::min(newEnd, oldSize);
}

std::size_t BlockCost(std::size_t size) noexcept {
    constexpr std::size_t kOfHeap = 32;  // a head, and rounding
    return size < kLeastMapped ? size + kOfHeap : RoundUpToPages(size);
}

}  // namespace CoreServices::Tree
