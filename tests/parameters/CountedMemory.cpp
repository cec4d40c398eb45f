#include "tests/parameters/CountedMemory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t held = 0;
thread_local std::size_t peak = 0;

void Took(std::size_t size) noexcept {
    held += size;
    peak = std::max(peak, held);
}

std::size_t SizeOfBlock(void* pBlock) noexcept {
    return malloc_usable_size(pBlock) + sizeof(std::size_t);
}

}  // namespace

// Not inlined: GCC would take them for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* pBlock = std::malloc(size);
    if (pBlock == nullptr)
        throw std::bad_alloc();
    Took(SizeOfBlock(pBlock));
    return pBlock;
}

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

[[gnu::noinline]] void operator delete(void* pBlock) noexcept {
    if (pBlock == nullptr)
        return;
    held -= SizeOfBlock(pBlock);
    std::free(pBlock);
}

[[gnu::noinline]] void operator delete(void* pBlock, std::size_t) noexcept {
    operator delete(pBlock);
}

// The linker leads calls of the program's own code to these.
extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's names
void* __real_mmap(void* pWhere, std::size_t size, int protection, int flags, int file, off_t offset);
int __real_munmap(void* pBlock, std::size_t size);

void* __wrap_mmap(void* pWhere, std::size_t size, int protection, int flags, int file, off_t offset) {
    void* pBlock = __real_mmap(pWhere, size, protection, flags, file, offset);
    if (pBlock != MAP_FAILED)
        Took(size);
    return pBlock;
}

int __wrap_munmap(void* pBlock, std::size_t size) {
    held -= size;
    return __real_munmap(pBlock, size);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
}

namespace TestSupport {

CountedMemory::CountedMemory() noexcept : m_before(held) {
    peak = held;
}

std::size_t CountedMemory::Held() const noexcept {
    return held - m_before;
}

std::size_t CountedMemory::Peak() const noexcept {
    return peak - m_before;
}

}  // namespace TestSupport
