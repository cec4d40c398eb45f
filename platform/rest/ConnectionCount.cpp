#include "platform/rest/ConnectionCount.h"

namespace PlatformAbstraction::Rest {

void ConnectionCount::Add() {
    const std::lock_guard lock(m_mutex);
    ++m_open;
}

void ConnectionCount::Remove() {
    bool wasPaused = false;
    {
        const std::lock_guard lock(m_mutex);
        --m_open;
        wasPaused = std::exchange(m_isPaused, false);
    }
    m_changed.notify_all();
    if (wasPaused && m_onRoom) {
        m_onRoom();
    }
}

bool ConnectionCount::PauseIfFull(std::size_t most) {
    const std::lock_guard lock(m_mutex);
    m_isPaused = m_open >= most;
    return m_isPaused;
}

bool ConnectionCount::WaitForNone(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_until(lock, deadline, [this] { return m_open == 0; });
}

}  // namespace PlatformAbstraction::Rest
