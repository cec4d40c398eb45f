#include "platform/rest/Listener.h"

#include <sys/resource.h>

#include <algorithm>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <chrono>
#include <string>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/rest/RestGateway.h"

namespace PlatformAbstraction::Rest {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

// With any free port, the one that the first address gave may be taken at the second.
constexpr int kMostAttempts = 16;

std::vector<asio::ip::address> AddressesOf(asio::io_context& context, const std::string& host) {
    if (host == "localhost") {
        return {asio::ip::address_v4::loopback(), asio::ip::address_v6::loopback()};
    }
    error_code error;
    if (const auto address = asio::ip::make_address(host, error); !error) {
        return {address};
    }
    tcp::resolver resolver(context);
    const auto found = resolver.resolve(host, "", error);
    if (error) {
        throw CannotListenError("The host \"" + host + "\" has no address (" + error.message() +
                                "). Name one of this machine, such as \"localhost\", with --host, or "
                                "\"rest.host\" with --deploy=distributed.");
    }
    std::vector<asio::ip::address> addresses;
    for (const auto& entry : found) {
        const auto address = entry.endpoint().address();
        if (std::find(addresses.begin(), addresses.end(), address) == addresses.end()) {
            addresses.push_back(address);
        }
    }
    return addresses;
}

bool IsLoopback(const asio::ip::address& address) {
    if (address.is_v6() && address.to_v6().is_v4_mapped()) {
        return asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6()).is_loopback();
    }
    return address.is_loopback();
}

void RefuseOpenHost(const RestGatewaySettings& settings, const std::vector<asio::ip::address>& addresses) {
    if (std::all_of(addresses.begin(), addresses.end(), IsLoopback)) {
        return;
    }
    const std::string open = "The host \"" + settings.host + "\" can be reached from other machines, and ";
    if (settings.callers.empty()) {
        throw CannotListenError(open +
                                "without \"callers\" in the file of bus settings anybody there could send "
                                "messages. Listen on localhost (--host, or \"rest.host\" with "
                                "--deploy=distributed), or name the callers.");
    }
    if (!settings.tls.IsUsed() && !settings.behindProxy) {
        throw CannotListenError(open +
                                "without TLS the callers' tokens could be read on the way. Name "
                                "\"rest.tls.certificateFile\" and \"rest.tls.privateKeyFile\" in the file of "
                                "bus settings. Where a proxy in front speaks TLS with the clients and nobody "
                                "else reaches this address, say so there with \"rest.behindProxy\": true.");
    }
}

// Empty, with the error, when the address cannot be listened on.
std::optional<tcp::acceptor> Listen(asio::io_context& context, const tcp::endpoint& endpoint,
                                    error_code& error) {
    tcp::acceptor acceptor(context);
    acceptor.open(endpoint.protocol(), error);
    if (!error && endpoint.address().is_v6()) {
        acceptor.set_option(asio::ip::v6_only(true), error);
    }
    if (!error) {
        acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    }
    if (!error) {
        acceptor.bind(endpoint, error);
    }
    if (!error) {
        acceptor.listen(tcp::acceptor::max_listen_connections, error);
    }
    return error ? std::nullopt : std::optional(std::move(acceptor));
}

bool IsMissingHere(const error_code& error) {
    return error == asio::error::address_family_not_supported ||
           error == boost::system::errc::address_not_available;
}

// Listens on all addresses that this machine has; the error is that of the last one that could not be had.
std::vector<tcp::acceptor> ListenOnAll(asio::io_context& context,
                                       const std::vector<asio::ip::address>& addresses, std::uint16_t port,
                                       error_code& error) {
    std::vector<tcp::acceptor> acceptors;
    for (const auto& address : addresses) {
        error_code here;
        auto acceptor = Listen(context, tcp::endpoint(address, port), here);
        if (acceptor) {
            port = acceptor->local_endpoint().port();
            acceptors.push_back(*std::move(acceptor));
            continue;
        }
        error = here;
        if (!IsMissingHere(here)) {
            return {};
        }
    }
    return acceptors;
}

std::string TextOf(const RestGatewaySettings& settings, const error_code& error) {
    const std::string place = "port " + std::to_string(settings.port) + " of \"" + settings.host + "\"";
    if (error == asio::error::address_in_use) {
        return "The " + place +
               " is in use. Stop the program that holds it, or choose another one with --port, or "
               "\"rest.port\" with --deploy=distributed.";
    }
    if (error == asio::error::access_denied) {
        return "This user may not listen on " + place +
               ". Choose a port from 1024 on with --port, or \"rest.port\" with --deploy=distributed.";
    }
    return "Cannot listen on " + place + ": " + error.message() + ".";
}

// More than the rest of the process has open: some for each of the ten connections to the store's file, and
// the log, the index of jobs, the listeners and the loops.
constexpr std::size_t kReserve = 128;

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

std::vector<tcp::acceptor> OpenListeners(asio::io_context& context, const RestGatewaySettings& settings) {
    const auto addresses = AddressesOf(context, settings.host);
    RefuseOpenHost(settings, addresses);
    error_code error;
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        auto acceptors = ListenOnAll(context, addresses, settings.port, error);
        if (!acceptors.empty()) {
            return acceptors;
        }
        if (settings.port != 0 || error != asio::error::address_in_use) {
            break;
        }
    }
    throw CannotListenError(TextOf(settings, error));
}

std::size_t ConnectionsThatFit(std::size_t wanted) {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return wanted;
    }
    if (const rlimit raised{limit.rlim_max, limit.rlim_max}; ::setrlimit(RLIMIT_NOFILE, &raised) == 0) {
        limit = raised;
    }
    const auto files = static_cast<std::size_t>(limit.rlim_cur);
    const std::size_t room = files - std::min(kReserve, files / 2);
    if (room >= wanted) {
        return wanted;
    }
    Log::Warning("At most " + std::to_string(room) +
                 " connections at once, for the system lets this process open " + std::to_string(files) +
                 " files (ulimit -n).");
    return room;
}

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
