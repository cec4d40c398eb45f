#pragma once

#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/messaging/inprocess/InProcessBus.h"

namespace PlatformAbstraction::Messaging {

/// How the bus of many machines is reached, and the limits of the services that are on it.
struct NatsSettings {
    /// At least one, each "host:port", "nats://host:port" or "tls://host:port"; they are of one cluster.
    std::vector<std::string> servers;

    // One of the two ways to say who this is, or none, which is refused beyond loopback addresses.
    std::string credentialsFile;  ///< a user's token and key
    std::string userName;
    std::string passwordFile;  ///< one line; goes with `userName`

    bool tls = false;           ///< the server's certificate and name are checked
    std::string authorityFile;  ///< PEM, who may sign that certificate; empty: the system's authorities

    /// The largest body that services and their clients send, in bytes. A server that takes less is refused.
    std::size_t largestBody = std::size_t{4} * 1024 * 1024;

    std::chrono::milliseconds connectTimeout{2000};
    /// Between two attempts to come back to the bus.
    std::chrono::milliseconds reconnectWait{250};
    /// A server that leaves two such questions in a row without an answer is given up.
    std::chrono::milliseconds pingInterval{2000};
    /// Of messages to one service that have arrived and are not yet read into trees. What comes beyond is
    /// lost, and logged: its sender gets no answer.
    std::size_t maxUnreadBytes = std::size_t{256} * 1024 * 1024;

    InProcessBusSettings services;
};

/// The bus cannot be joined with these settings, or cannot be reached. The text, which shows no password,
/// says why.
class NatsBusError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One of `NatsSettings::servers`, taken apart.
struct NatsAddress {
    std::string url;
    std::string host;
    bool isLoopback = false;
};

/// Throws `NatsBusError` for settings that no bus can be joined with: no or unreadable servers, half of or
/// twice an identity, none beyond loopback addresses.
std::vector<NatsAddress> CheckNatsSettings(const NatsSettings& settings);

}  // namespace PlatformAbstraction::Messaging
