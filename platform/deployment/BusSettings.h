#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/messaging/inprocess/InProcessBus.h"
#include "platform/messaging/nats/NatsSettings.h"
#include "platform/rest/RestGateway.h"

namespace PlatformAbstraction::Deployment {

/// What the platform itself takes from the file of bus settings for the local farm.
struct FarmSettings {
    std::optional<bool> enabled;              ///< empty: in one process it runs, on many machines not
    bool isShared = false;                    ///< other machines may have farms of the same realm; not read
    std::chrono::milliseconds taskTime{200};  ///< how long a worker takes for a task
    std::string catalogueDirectory;           ///< empty: the catalogues that are built in
};

/// What the record store takes from it; the values are checked.
struct StoreSettings {
    std::string compression = "zstd";         ///< or "none"; of the embedded store
    std::chrono::milliseconds timeout{5000};  ///< the longest wait for a store of many machines
};

/// What the event log of many machines takes from it, beside its address.
struct KafkaLogSettings {
    bool tls = false;
    std::string authorityFile;  ///< PEM; empty: the system's authorities
    std::string saslMechanism;  ///< empty: no login
    std::string userName;
    std::string passwordFile;
    std::int32_t replicas = 1;           ///< of a topic that is made
    std::int32_t minInSyncReplicas = 1;  ///< of these, how many have an event before it counts as taken
};

/// Where the gateway listens on many machines, whose options `host` and `port` are the bus's.
struct GatewayAddress {
    std::string host = "localhost";
    std::uint16_t port = 9900;
};

/// What a file of bus settings says, or leaves at its default. Host and port of the gateway in one process
/// and of the bus of many machines come from the service's options, not from here.
struct BusSettings {
    Messaging::InProcessBusSettings bus;
    Rest::RestGatewaySettings rest;
    FarmSettings farm;
    StoreSettings store;
    KafkaLogSettings kafka;

    // For many machines alone.
    Messaging::NatsSettings nats;
    GatewayAddress gateway;
    std::string ofManyMachines;  ///< the name of one that the file sets; empty: it sets none
};

/// A setting was refused. The text names its key.
class BusSettingsError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the JSON text of a file of bus settings. What it does not name keeps its default; a key that is
/// unknown, a value of the wrong type or out of its range throws `BusSettingsError`. The empty text is no
/// settings file.
BusSettings ParseBusSettings(std::string_view json);

/// Reads such a file; an empty path gives the defaults. Throws `BusSettingsError`.
BusSettings ReadBusSettings(const std::string& path);

}  // namespace PlatformAbstraction::Deployment
