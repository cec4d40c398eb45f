#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace PlatformAbstraction {

/// A mutex that is given to threads in the order in which they came. For work that goes on for long in many
/// pieces: a plain mutex goes back, time after time, to the thread that lets it go and wants it again at
/// once. A standard Lockable but for `try_lock`; not recursive.
class FairMutex {
public:
    void lock();
    void unlock();

private:
    std::mutex m_mutex;  // guards what follows, and is held for a moment only
    std::condition_variable m_isNext;
    std::uint64_t m_nextTurn = 0;
    std::uint64_t m_turnThatHasIt = 0;
};

}  // namespace PlatformAbstraction
