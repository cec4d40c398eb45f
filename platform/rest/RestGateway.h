#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/messaging/MessageSink.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/rest/CallerDirectory.h"

namespace PlatformAbstraction::Rest {

/// Where certificate and private key lie, in PEM form. Both are empty, for plain HTTP, or neither is.
struct TlsFiles {
    std::string certificateFile;  ///< the service's own, then those between it and its authority
    std::string privateKeyFile;

    bool IsUsed() const { return !certificateFile.empty(); }
};

/// The least `maxRequestMemoryBytes` that goes with this `maxBodyBytes`: the largest body with the largest
/// tree that can be made of it finds room in it, beside what is kept for small requests.
[[nodiscard]] std::size_t LeastRequestMemory(std::size_t maxBodyBytes) noexcept;

/// How a gateway listens and what it puts up with.
struct RestGatewaySettings {
    /// A name or an address. "localhost" stands for 127.0.0.1 and ::1. It must be a loopback address unless
    /// there are `callers`, and `tls` or `behindProxy`.
    std::string host = "localhost";
    std::uint16_t port = 9900;           ///< 0: any free one
    std::size_t maxBodyBytes = 4194304;  ///< a larger body gets 413
    std::size_t maxConnections = 4096;   ///< further ones wait in the listen queue
    /// What requests may take together: bodies, the trees made of them, and answers. At least
    /// `LeastRequestMemory`. Whoever finds no room waits before his body is read, and gets 503 after the
    /// request timeout.
    std::size_t maxRequestMemoryBytes = 268435456;
    std::chrono::milliseconds requestTimeout{10000};  ///< a request that takes longer to arrive gets 408
    /// A connection without a request is closed after it, and so is one whose client does not take its
    /// answer.
    std::chrono::milliseconds idleTimeout{60000};
    TlsFiles tls;
    bool behindProxy = false;                 ///< a proxy in front speaks TLS with the clients
    std::vector<std::string> allowedOrigins;  ///< web origins that may call; any other gets 403
    /// Whose tokens are asked for, until others are named; empty: anybody, anonymously.
    std::vector<Caller> callers;
    unsigned threads = 2;  ///< that read and write; handlers do not run on them
};

/// The gateway cannot listen as it is told to, or must not. The text tells a person what to do.
class CannotListenError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// HTTP/1.1 in front of one service: turns requests into messages and their answers into responses. It reads,
/// decides and writes on threads of its own; the messages are answered on the service's. Owned by whoever
/// starts the service, whose thread makes all calls.
class RestGateway {
public:
    /// `sink` must live until `Stop` has returned. `onBroken` is called once, on a thread of the gateway,
    /// when it can accept no more connections though nobody asked it to stop. Throws `std::invalid_argument`
    /// for a registration with a method that REST does not have, and for a budget of memory that is too
    /// small.
    RestGateway(
        RestGatewaySettings settings, std::vector<RegistrationParams> registrations,
        Messaging::MessageSink& sink, std::function<void()> onBroken = [] {});
    RestGateway(const RestGateway&) = delete;
    RestGateway& operator=(const RestGateway&) = delete;
    /// Stops without patience.
    ~RestGateway();

    /// Listens, and gives the port. Requests may arrive before this returns. Throws `CannotListenError`.
    /// Once.
    std::uint16_t Start();

    /// From the next request on, also of connections that are open, the callers are these. Throws
    /// `std::invalid_argument`, and changes nothing, where there are none but were some: a gateway that asks
    /// for tokens is not opened to everybody while it runs. Between `Start` and `StopAccepting`.
    void SetCallers(const std::vector<Caller>& callers);

    /// Frees the port, closes the connections without a request, and answers requests with 503 from now on.
    /// Those that the service has already still get their answers.
    void StopAccepting();

    /// Waits until the last answers are written, at most that long, and ends. An answer that comes after it
    /// goes nowhere.
    void Stop(std::chrono::milliseconds patience);

    /// What requests hold at the moment of `maxRequestMemoryBytes`. Any thread.
    std::size_t GetRequestMemory() const noexcept;

private:
    class Impl;
    std::unique_ptr<Impl> m_pImpl;
};

}  // namespace PlatformAbstraction::Rest
