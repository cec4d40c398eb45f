#pragma once

#include <cstddef>

namespace TestSupport {

/// What the calling thread took since this object was made, from the heap and mapped from the system, in
/// bytes with what these add to each block. One at a time for each thread, which must free itself what it
/// takes. Programs link CountedMemory.cpp with `-Wl,--wrap=mmap,--wrap=munmap`.
class CountedMemory {
public:
    CountedMemory() noexcept;

    std::size_t Held() const noexcept;
    std::size_t Peak() const noexcept;

private:
    std::size_t m_before;
};

}  // namespace TestSupport
