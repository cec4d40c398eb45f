#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/parameters/Parameters.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/rest/CallerDirectory.h"
#include "platform/rest/HttpReply.h"
#include "platform/rest/RequestHead.h"
#include "platform/rest/RestGateway.h"
#include "platform/rest/RouteTable.h"

namespace PlatformAbstraction::Rest {

/// What is kept of an admitted request until its body is there.
struct AdmittedRequest {
    Route route;
    CoreServices::Parameters query;
    CoreServices::Parameters context;
    CallerKey caller = 0;    ///< 0 where callers are not told apart
    bool bodyIsJson = true;  ///< as far as its head says
};

/// The message that a request is.
struct MadeRequest {
    CoreServices::Parameters tree;
    std::size_t documentBytes = 0;  ///< what the tree takes; 0 where only the bound of it is known
};

/// What the gate makes of a request's head.
struct Verdict {
    std::variant<AdmittedRequest, HttpReply> outcome;
    std::string corsFields;  ///< header lines of the answer, for the web page that asked, if one did
};

/// Decides about requests: who may ask, for what, in which form. Knows nothing of connections. Constant once
/// built, so thread-safe.
class RequestGate {
public:
    /// `port` is the one that the gateway listens on.
    RequestGate(const RestGatewaySettings& settings, std::uint16_t port,
                const std::vector<RegistrationParams>& registrations);

    /// Lets a request of one of the callers in, or answers it, before any of its body is read.
    [[nodiscard]] Verdict Judge(const RequestHead& head, const CallerDirectory& callers) const;

    /// The message: the body, the query string, then the placeholders, each overriding the one before.
    [[nodiscard]] static std::variant<MadeRequest, HttpReply> MakeRequest(const AdmittedRequest& admitted,
                                                                          std::string_view body);

private:
    bool IsOurHost(const HostAndPort& given) const;
    /// The configured text, or null.
    const std::string* FindOrigin(const RequestHead& head) const;
    std::string CorsFields(const std::string* origin) const;
    std::optional<GatewayFailure> FindFault(const RequestHead& head, const std::string* origin) const;
    std::variant<AdmittedRequest, HttpReply> Decide(const RequestHead& head, const std::string* origin,
                                                    const CallerDirectory& callers) const;

    const std::size_t m_maxBodyBytes;
    const std::vector<std::string> m_allowedOrigins;
    const std::uint16_t m_port;
    std::vector<std::string>
        m_ourHosts;  // none: the gateway listens on all addresses, so any name may be its own
    const RouteTable m_routes;
};

}  // namespace PlatformAbstraction::Rest
