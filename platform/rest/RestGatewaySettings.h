#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/rest/CallerDirectory.h"

namespace PlatformAbstraction::Rest {

/// Where certificate and private key lie, in PEM form. Both are empty, for plain HTTP, or neither is.
struct TlsFiles {
    std::string certificateFile;  ///< the service's own, then those between it and its authority
    std::string privateKeyFile;

    bool IsUsed() const { return !certificateFile.empty(); }
};

/// How a gateway listens and what it puts up with.
struct RestGatewaySettings {
    /// A name or an address. "localhost" stands for 127.0.0.1 and ::1. It must be a loopback address unless
    /// there are `callers`, and `tls` or `behindProxy`.
    std::string host = "localhost";
    std::uint16_t port = 9900;                        ///< 0: any free one
    std::size_t maxBodyBytes = 4194304;               ///< a larger body gets 413
    std::size_t maxConnections = 4096;                ///< further ones wait in the listen queue
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

}  // namespace PlatformAbstraction::Rest
