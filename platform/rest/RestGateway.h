#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include "platform/messaging/MessageSink.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/rest/RestGatewaySettings.h"

namespace PlatformAbstraction::Rest {

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
    /// for a registration with a method that REST does not have.
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

private:
    class Impl;
    std::unique_ptr<Impl> m_pImpl;
};

}  // namespace PlatformAbstraction::Rest
