#pragma once

// Private to the gateway.

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <optional>
#include <vector>

#include "platform/rest/RestGatewaySettings.h"

namespace PlatformAbstraction::Rest {

/// Sockets that listen on all addresses of the host in the settings, on one port. Throws `CannotListenError`
/// with a text that tells a person what to do.
std::vector<boost::asio::ip::tcp::acceptor> OpenListeners(boost::asio::io_context& context,
                                                          const RestGatewaySettings& settings);

}  // namespace PlatformAbstraction::Rest
