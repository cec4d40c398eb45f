#pragma once

// Private to the gateway.

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <memory>
#include <thread>
#include <unordered_set>

#include "platform/rest/GatewayCore.h"

namespace PlatformAbstraction::Rest {

class Connection;

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

    // On the loop's own thread.
    void Adopt(boost::asio::ip::tcp::socket socket, ConnectionCount::Slot slot);
    void Remove(const std::shared_ptr<Connection>& connection);
    /// Each loop has a share of its own, so that a request looks its caller up without a lock.
    void SetCallers(std::shared_ptr<const CallerDirectory> callers) { m_pCallers = std::move(callers); }
    const CallerDirectory& GetCallers() const { return *m_pCallers; }

    boost::asio::io_context& GetContext() { return m_context; }
    GatewayCore& GetCore() { return *m_pCore; }

private:
    void Run();
    void StartTicking();
    void Tick();

    const std::shared_ptr<GatewayCore> m_pCore;
    const std::chrono::milliseconds m_tickPeriod;

    // What is queued in the context may hold connections, so it goes last.
    boost::asio::io_context m_context{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work;
    std::thread m_thread;

    // For the loop's own thread.
    boost::asio::steady_timer m_tick;
    bool m_isTicking = false;
    std::shared_ptr<const CallerDirectory> m_pCallers;
    std::unordered_set<std::shared_ptr<Connection>> m_connections;
};

}  // namespace PlatformAbstraction::Rest
