#pragma once

// Private to the gateway.

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>
#include <unordered_set>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "platform/rest/GatewayCore.h"
#include "platform/rest/HttpReply.h"

namespace PlatformAbstraction::Rest {

class Connection;

/// An answer on its way to its connection, which may have gone meanwhile.
struct ReadyAnswer {
    std::weak_ptr<Connection> connection;
    std::uint64_t request = 0;  ///< of the connection's requests
    HttpReply reply;
    RequestMemory::Share share{};  ///< of the reply
};

/// One thread with the connections that belong to it, so that none of them needs a lock. Owned by the
/// gateway; an answer on its way holds it for a moment.
class IoLoop : public std::enable_shared_from_this<IoLoop> {
public:
    explicit IoLoop(std::shared_ptr<GatewayCore> core);
    IoLoop(const IoLoop&) = delete;
    IoLoop& operator=(const IoLoop&) = delete;
    /// On any thread, after `Stop` or without `Start`.
    ~IoLoop();

    void Start();
    /// Drops the connections that are left and waits for the thread.
    void Stop();
    /// Any thread: closes the connections that wait for a request, and the others once they have their
    /// answer.
    void BeginStop();
    /// Any thread: hands the answer to its connection, together with those that come at about the same time.
    void HandOver(ReadyAnswer answer);

    // On the loop's own thread.
    void Adopt(boost::asio::ip::tcp::socket socket, ConnectionCount::Slot slot);
    void Remove(const std::shared_ptr<Connection>& connection);
    /// Each loop has a share of its own, so that a request looks its caller up without a lock.
    void SetCallers(std::shared_ptr<const CallerDirectory> callers) { m_pCallers = std::move(callers); }
    const CallerDirectory& GetCallers() const { return *m_pCallers; }

    /// The time by which deadlines go. While the loop itself does not come round, it stands still: what a
    /// client has sent lies unread then, and that is no fault of his.
    std::chrono::steady_clock::time_point Now() const {
        return std::chrono::steady_clock::now() - m_lostTime;
    }

    boost::asio::io_context& GetContext() { return m_context; }
    GatewayCore& GetCore() { return *m_pCore; }

private:
    void Run();
    void HandOutAnswers();
    void StartTicking();
    void Tick();

    const std::shared_ptr<GatewayCore> m_pCore;
    const std::chrono::milliseconds m_tickPeriod;

    // What is queued in the context may hold connections, so it goes last.
    boost::asio::io_context m_context{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work;
    std::thread m_thread;

    Mutex m_mutex;
    std::vector<ReadyAnswer> m_ready QUILLON_GUARDED_BY(m_mutex);
    bool m_isHandOutDue QUILLON_GUARDED_BY(m_mutex) = false;

    // For the loop's own thread.
    std::vector<ReadyAnswer> m_handedOut;
    boost::asio::steady_timer m_tick;
    bool m_isTicking = false;
    std::chrono::steady_clock::duration m_lostTime{0};
    std::shared_ptr<const CallerDirectory> m_pCallers;
    std::unordered_set<std::shared_ptr<Connection>> m_connections;
    std::size_t m_mostConnections = 0;  // since memory was given back
};

}  // namespace PlatformAbstraction::Rest
