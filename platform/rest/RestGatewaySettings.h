#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "CallerDirectory.h"

namespace PlatformAbstraction::Rest {

/// How a gateway listens and what it puts up with.
struct RestGatewaySettings {
    /// A name or an address. "localhost" stands for 127.0.0.1 and ::1. Without `callers` it must be a
    /// loopback address.
    std::string host = "localhost";
    std::uint16_t port = 9900;                        ///< 0: any free one
    std::size_t maxBodyBytes = 4194304;               ///< a larger body gets 413
    std::size_t maxConnections = 4096;                ///< further ones wait in the listen queue
    std::chrono::milliseconds requestTimeout{10000};  ///< a request that takes longer to arrive gets 408
    /// A connection without a request is closed after it, and so is one whose client does not take its
    /// answer.
    std::chrono::milliseconds idleTimeout{60000};
    std::vector<std::string> allowedOrigins;  ///< web origins that may call; any other gets 403
    std::vector<Caller> callers;              ///< whose tokens are asked for; empty: anybody, anonymously
    unsigned threads = 2;                     ///< that read and write; handlers do not run on them
};

}  // namespace PlatformAbstraction::Rest
