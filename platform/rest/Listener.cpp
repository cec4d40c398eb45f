#include "platform/rest/Listener.h"

#include <boost/asio/post.hpp>
#include <chrono>
#include <string>
#include <utility>

#include "base/log/PlatformLog.h"

namespace PlatformAbstraction::Rest {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

// How long to wait after an error, such as running out of descriptors, that the next attempt would meet
// again.
constexpr std::chrono::milliseconds kRetryPeriod{100};

// One line in this time, however often connections come and go meanwhile.
constexpr std::chrono::minutes kComplaintPeriod{1};

// The socket itself is unfit; every other error belongs to one connection, or passes.
bool IsBroken(const error_code& error) {
    return error == asio::error::bad_descriptor || error == asio::error::not_socket ||
           error == asio::error::invalid_argument || error == asio::error::operation_not_supported;
}

}  // namespace

Listener::Listener(std::vector<tcp::acceptor> acceptors, std::vector<std::shared_ptr<IoLoop>> loops,
                   std::size_t maxConnections, std::function<void()> onBroken)
    : m_maxConnections(maxConnections),
      m_loops(std::move(loops)),
      m_core(m_loops.front()->GetCore()),
      m_onBroken(std::move(onBroken)),
      m_retry(m_loops.front()->GetContext()) {
    for (tcp::acceptor& acceptor : acceptors) {
        m_sockets.emplace_back(std::move(acceptor));
    }
}

void Listener::Resume() {
    if (m_isClosed || m_core.connections.PauseIfFull(m_maxConnections)) {
        return;
    }
    for (Socket& socket : m_sockets) {
        if (!socket.isAccepting) {
            Accept(socket);
        }
    }
}

void Listener::Accept(Socket& socket) {
    IoLoop& loop = *m_loops[m_nextLoop++ % m_loops.size()];
    socket.isAccepting = true;
    socket.acceptor.async_accept(loop.GetContext(),
                                 [this, &socket, &loop](const error_code& error, tcp::socket connection) {
                                     socket.isAccepting = false;
                                     if (!error) {
                                         OnAccepted(loop, std::move(connection));
                                     } else if (error != asio::error::operation_aborted) {
                                         OnError(error);
                                     } else if (!m_isClosed) {
                                         Resume();  // stays out while there is no room
                                     }
                                 });
}

void Listener::OnAccepted(IoLoop& loop, tcp::socket connection) {
    asio::post(loop.GetContext(),
               [&loop, slot = ConnectionCount::Slot(m_core.connections),
                taken = std::move(connection)]() mutable { loop.Adopt(std::move(taken), std::move(slot)); });
    if (m_core.connections.PauseIfFull(m_maxConnections)) {
        Pause();
    } else {
        Resume();
    }
}

// The other sockets' accepts are under way: none may take a connection past the limit.
void Listener::Pause() {
    for (Socket& socket : m_sockets) {
        error_code ignored;
        socket.acceptor.cancel(ignored);
    }
}

void Listener::OnError(const error_code& error) {
    if (m_isClosed) {
        return;
    }
    if (IsBroken(error)) {
        Log::Error("The gateway can accept no more connections: " + error.message() + ".");
        Close();
        m_onBroken();
        return;
    }
    if (error == asio::error::connection_aborted) {  // that client has gone again
        Resume();
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (!m_lastComplaint || now - *m_lastComplaint >= kComplaintPeriod) {
        m_lastComplaint = now;
        Log::Warning("The gateway cannot accept connections for the moment: " + error.message() + ".");
    }
    ResumeLater();
}

void Listener::ResumeLater() {
    m_retry.expires_after(kRetryPeriod);
    m_retry.async_wait([this](const error_code& error) {
        if (!error) {
            Resume();
        }
    });
}

void Listener::Close() {
    m_isClosed = true;
    m_retry.cancel();
    for (Socket& socket : m_sockets) {
        error_code ignored;
        socket.acceptor.close(ignored);
    }
}

}  // namespace PlatformAbstraction::Rest
