#include "base/concurrency/FairMutex.h"

namespace PlatformAbstraction {

void FairMutex::lock() {
    std::unique_lock lock(m_mutex);
    const std::uint64_t turn = m_nextTurn++;
    m_isNext.wait(lock, [&] { return turn == m_turnThatHasIt; });
}

void FairMutex::unlock() {
    {
        const std::scoped_lock lock(m_mutex);
        ++m_turnThatHasIt;
    }
    m_isNext.notify_all();
}

}  // namespace PlatformAbstraction
