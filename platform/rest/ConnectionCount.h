#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace PlatformAbstraction::Rest {

/// How many connections are open, against the most there may be. Any thread may call.
class ConnectionCount {
public:
    /// `onRoom` is called when a connection has closed and the accepting had paused, on the thread on which
    /// it closed. Set before the first connection.
    void SetOnRoom(std::function<void()> onRoom) { m_onRoom = std::move(onRoom); }

    /// The place of one connection, which is free again when the slot goes. The count must outlive it.
    class Slot {
    public:
        explicit Slot(ConnectionCount& count) : m_pCount(&count) { count.Add(); }

    private:
        struct Release {
            void operator()(ConnectionCount* count) const { count->Remove(); }
        };
        std::unique_ptr<ConnectionCount, Release> m_pCount;
    };

    /// True when there are `most` or more: the caller then stops accepting until `onRoom`.
    bool PauseIfFull(std::size_t most);
    /// False when some are still open at the deadline.
    bool WaitForNone(std::chrono::steady_clock::time_point deadline);

private:
    void Add();
    void Remove();

    std::function<void()> m_onRoom;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_open = 0;   // guarded by m_mutex
    bool m_isPaused = false;  // guarded by m_mutex
};

}  // namespace PlatformAbstraction::Rest
