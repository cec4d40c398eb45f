#pragma once

#include <atomic>
#include <cstdint>

namespace CommonServices::Sqlite {

/// The number of the last group that is through, for threads to wait on. Any thread may wait, one announces.
///
/// It stands on the kernel's wait for a word: all waiters are woken with one call and then contend for no
/// lock, as they would with a condition variable, and none spins, as with the standard atomic's wait, while
/// it is the disk that everybody waits for.
class GroupSignal {
public:
    /// Returns once a group of this or a later number was announced. Numbers grow and may wrap around.
    void WaitFor(std::uint32_t number);
    void Announce(std::uint32_t number);

private:
    std::atomic<std::uint32_t> m_last = 0;
    static_assert(std::atomic<std::uint32_t>::is_always_lock_free, "the kernel waits on the plain word");
};

}  // namespace CommonServices::Sqlite
