#pragma once

// Private to the gateway.

#include <boost/asio/ssl/context.hpp>

#include "platform/rest/RestGatewaySettings.h"

namespace PlatformAbstraction::Rest {

/// What the connections of a gateway speak TLS with: TLS 1.2 and later, forward secrecy and authenticated
/// encryption alone, "http/1.1" where a client asks for a protocol; nothing is compressed, renegotiated or
/// resumed. Throws `CannotListenError` with a text that tells a person what to do where the files are not
/// there, not fit or not of each other.
boost::asio::ssl::context MakeTlsContext(const TlsFiles& files);

}  // namespace PlatformAbstraction::Rest
