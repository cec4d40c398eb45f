#pragma once

// Private to the gateway.

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/rest/IoLoop.h"

namespace PlatformAbstraction::Rest {

/// Sockets that listen on all addresses of the host in the settings, on one port. Throws `CannotListenError`
/// with a text that tells a person what to do.
std::vector<boost::asio::ip::tcp::acceptor> OpenListeners(boost::asio::io_context& context,
                                                          const RestGatewaySettings& settings);

/// How many of these connections fit into the files that the system lets this process have open, with room
/// for the store and all else that it opens. Raises the soft limit to the hard one. Says so where they do not
/// all fit.
std::size_t ConnectionsThatFit(std::size_t wanted);

/// Accepts connections and gives them to the loops in turn. Outlives every error of accepting but that of a
/// listening socket that is gone. Owned by the gateway; runs on the first loop, whose thread calls everything
/// but the constructor.
class Listener {
public:
    /// `onBroken` is called once when a listening socket is gone.
    Listener(std::vector<boost::asio::ip::tcp::acceptor> acceptors,
             std::vector<std::shared_ptr<IoLoop>> loops, std::size_t maxConnections,
             std::function<void()> onBroken);

    /// Accepts on every socket on which it does not do so already. Called anew when there is room.
    void Resume();
    void Close();

private:
    struct Socket {
        explicit Socket(boost::asio::ip::tcp::acceptor theAcceptor) : acceptor(std::move(theAcceptor)) {}
        boost::asio::ip::tcp::acceptor acceptor;
        bool isAccepting = false;
    };

    void Accept(Socket& socket);
    void OnAccepted(IoLoop& loop, boost::asio::ip::tcp::socket connection);
    void OnError(const boost::system::error_code& error);
    void Pause();
    void ResumeLater();

    const std::size_t m_maxConnections;
    const std::vector<std::shared_ptr<IoLoop>> m_loops;
    GatewayCore& m_core;
    std::function<void()> m_onBroken;
    std::vector<Socket> m_sockets;
    boost::asio::steady_timer m_retry;
    std::size_t m_nextLoop = 0;
    std::optional<std::chrono::steady_clock::time_point> m_lastComplaint;
    bool m_isClosed = false;
};

}  // namespace PlatformAbstraction::Rest
