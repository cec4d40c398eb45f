#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/messaging/inprocess/InProcessBus.h"
#include "platform/rest/RestGateway.h"

namespace PlatformAbstraction::Deployment {

/// What the platform itself takes from the file of bus settings for the local farm.
struct FarmSettings {
    bool enabled = true;
    std::chrono::milliseconds taskTime{200};  ///< how long a worker takes for a task
    std::string catalogueDirectory;           ///< empty: the catalogues that are built in
};

/// What the record store takes from it; the values are checked.
struct StoreSettings {
    std::string compression = "zstd";  ///< or "none"
};

/// The settings of the bus of one process. Host and port of the gateway come from the service, not from here.
struct BusSettings {
    Messaging::InProcessBusSettings bus;
    Rest::RestGatewaySettings rest;
    FarmSettings farm;
    StoreSettings store;
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
