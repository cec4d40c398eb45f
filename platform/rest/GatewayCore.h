#pragma once

// Private to the gateway.

#include <atomic>
#include <boost/asio/ssl/context.hpp>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "base/concurrency/Mutex.h"
#include "platform/messaging/MessageSink.h"
#include "platform/rest/BodyReaders.h"
#include "platform/rest/RequestGate.h"
#include "platform/rest/RequestMemory.h"
#include "platform/rest/RestGateway.h"

namespace PlatformAbstraction::Rest {

/// How many connections are open, against the most there may be. Thread-safe.
class ConnectionCount {
public:
    /// `onRoom` is called when a connection has closed and the accepting had paused, on the thread on which
    /// it closed. Set before the first connection.
    void SetOnRoom(std::function<void()> onRoom) { m_onRoom = std::move(onRoom); }

    /// The place of one connection, which is free again when the slot goes. The count must outlive it.
    class [[nodiscard]] Slot {
    public:
        explicit Slot(ConnectionCount& count) : m_pCount(&count) { count.Add(); }

    private:
        struct Release {
            void operator()(ConnectionCount* count) const { count->Remove(); }
        };
        std::unique_ptr<ConnectionCount, Release> m_pCount;
    };

    /// True when there are `most` or more: the caller then stops accepting until `onRoom`.
    [[nodiscard]] bool PauseIfFull(std::size_t most) {
        const MutexLock lock(m_mutex);
        m_isPaused = m_open >= most;
        return m_isPaused;
    }

    /// Returns when the last one has closed, or at the deadline.
    void WaitForNone(std::chrono::steady_clock::time_point deadline) {
        MutexLock lock(m_mutex);
        while (m_open > 0 && m_closed.WaitUntil(lock, deadline)) {
        }
    }

private:
    void Add() {
        const MutexLock lock(m_mutex);
        ++m_open;
    }

    void Remove() {
        bool wasPaused = false;
        {
            const MutexLock lock(m_mutex);
            --m_open;
            wasPaused = std::exchange(m_isPaused, false);
        }
        m_closed.NotifyAll();
        if (wasPaused && m_onRoom) {
            m_onRoom();
        }
    }

    std::function<void()> m_onRoom;

    Mutex m_mutex;
    Condition m_closed;
    std::size_t m_open QUILLON_GUARDED_BY(m_mutex) = 0;
    bool m_isPaused QUILLON_GUARDED_BY(m_mutex) = false;
};

/// What the connections of one gateway share. Lives as long as any of its loops; the sink only until the
/// gateway has stopped.
struct GatewayCore {
    GatewayCore(RestGatewaySettings theSettings, Messaging::MessageSink& theSink)
        : settings(std::move(theSettings)),
          sink(theSink),
          plan(settings.maxRequestMemoryBytes, settings.maxBodyBytes),
          memory(std::make_shared<RequestMemory>(plan)) {}

    /// Null where connections are plain.
    boost::asio::ssl::context* GetTls() { return tls ? &*tls : nullptr; }

    const RestGatewaySettings settings;
    Messaging::MessageSink& sink;
    const MemoryPlan plan;
    const std::shared_ptr<RequestMemory> memory;
    std::optional<RequestGate> gate;  ///< made when the port is known, before the first connection
    std::optional<boost::asio::ssl::context> tls;  ///< likewise, unless connections are plain
    ConnectionCount connections;
    std::atomic<bool> isStopping{false};
    BodyReaders readers;  // use all of the above, so they go first
};

}  // namespace PlatformAbstraction::Rest
