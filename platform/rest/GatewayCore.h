#pragma once

// Private to the gateway.

#include <atomic>
#include <boost/asio/ssl/context.hpp>
#include <optional>

#include "platform/messaging/MessageSink.h"
#include "platform/rest/ConnectionCount.h"
#include "platform/rest/RequestGate.h"
#include "platform/rest/RestGatewaySettings.h"

namespace PlatformAbstraction::Rest {

/// What the connections of one gateway share. Lives as long as any of its loops; the sink only until the
/// gateway has stopped.
struct GatewayCore {
    GatewayCore(RestGatewaySettings theSettings, Messaging::MessageSink& theSink)
        : settings(std::move(theSettings)), sink(theSink) {}

    /// Null where connections are plain.
    boost::asio::ssl::context* GetTls() { return tls ? &*tls : nullptr; }

    const RestGatewaySettings settings;
    Messaging::MessageSink& sink;
    std::optional<RequestGate> gate;  ///< made when the port is known, before the first connection
    std::optional<boost::asio::ssl::context> tls;  ///< likewise, unless connections are plain
    ConnectionCount connections;
    std::atomic<bool> isStopping{false};
};

}  // namespace PlatformAbstraction::Rest
