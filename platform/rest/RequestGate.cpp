#include "platform/rest/RequestGate.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "platform/rest/HttpText.h"
#include "platform/rest/RequestTarget.h"

namespace PlatformAbstraction::Rest {

namespace {

using CoreServices::Parameters;

constexpr std::string_view kOptions = "OPTIONS";
constexpr std::string_view kHead = "HEAD";

// What a browser asks before it sends a page's request. It carries no token, so it learns nothing of the
// paths.
constexpr char kPreflightFields[] =
    "Access-Control-Allow-Methods: GET, POST, DELETE\r\n"
    "Access-Control-Allow-Headers: Authorization, Content-Type\r\n"
    "Access-Control-Max-Age: 600\r\n";
constexpr char kWholeServerFields[] = "Allow: GET, HEAD, POST, DELETE, OPTIONS\r\n";
constexpr std::string_view kWholeServer = "*";

std::vector<std::string> OurHosts(const std::string& configured) {
    if (configured == "0.0.0.0" || configured == "::") {
        return {};
    }
    std::vector<std::string> hosts{"localhost", "127.0.0.1", "[::1]", configured};
    if (configured.find(':') != std::string::npos) {
        hosts.push_back("[" + configured + "]");
    }
    return hosts;
}

// A page embeds images and links without an `Origin`; browsers say in this way that it is a foreign one.
bool IsOfAnotherSite(const RequestHead& head) {
    return head.fetchSite && (EqualsIgnoringCase(*head.fetchSite, "cross-site") ||
                              EqualsIgnoringCase(*head.fetchSite, "same-site"));
}

// Is it "application/json", and in UTF-8 where it names a character set?
bool IsJsonContentType(std::string_view value) {
    const std::size_t semicolon = std::min(value.find(';'), value.size());
    if (!EqualsIgnoringCase(Trimmed(value.substr(0, semicolon)), "application/json")) {
        return false;
    }
    if (semicolon == value.size()) {
        return true;
    }
    const std::string_view parameter = Trimmed(value.substr(semicolon + 1));
    return EqualsIgnoringCase(parameter, "charset=utf-8") ||
           EqualsIgnoringCase(parameter, "charset=\"utf-8\"");
}

bool IsPlainEncoding(const std::optional<std::string_view>& contentEncoding) {
    return !contentEncoding || EqualsIgnoringCase(*contentEncoding, "identity");
}

}  // namespace

RequestGate::RequestGate(const RestGatewaySettings& settings, std::uint16_t port,
                         const std::vector<RegistrationParams>& registrations)
    : m_maxBodyBytes(settings.maxBodyBytes),
      m_allowedOrigins(settings.allowedOrigins),
      m_port(port),
      m_ourHosts(OurHosts(settings.host)),
      m_routes(registrations) {}

// A page of a foreign site can make its own name point here and so pass for one of ours; its `Host` tells.
bool RequestGate::IsOurHost(const HostAndPort& given) const {
    if (given.port && *given.port != m_port) {
        return false;
    }
    return m_ourHosts.empty() ||
           std::any_of(m_ourHosts.begin(), m_ourHosts.end(),
                       [&given](const auto& ours) { return EqualsIgnoringCase(ours, given.host); });
}

const std::string* RequestGate::FindOrigin(const RequestHead& head) const {
    const auto found = head.origin ? std::find(m_allowedOrigins.begin(), m_allowedOrigins.end(), *head.origin)
                                   : m_allowedOrigins.end();
    return found == m_allowedOrigins.end() ? nullptr : &*found;
}

std::string RequestGate::CorsFields(const std::string* origin) const {
    std::string fields;
    if (!m_allowedOrigins.empty()) {
        fields = "Vary: Origin\r\n";
    }
    if (origin != nullptr) {
        fields.append("Access-Control-Allow-Origin: ").append(*origin).append("\r\n");
    }
    return fields;
}

std::optional<GatewayFailure> RequestGate::FindFault(const RequestHead& head,
                                                     const std::string* origin) const {
    if (head.authority && !IsOurHost(*head.authority)) {
        return GatewayFailure::MalformedRequest;  // it takes us for a proxy
    }
    // Old clients name no host. Browsers do, and whoever speaks for a page has to.
    if (head.host ? !IsOurHost(*head.host) : head.origin.has_value()) {
        return GatewayFailure::ForeignHost;
    }
    if (head.origin ? origin == nullptr : IsOfAnotherSite(head)) {
        return GatewayFailure::ForeignOrigin;
    }
    return std::nullopt;
}

Verdict RequestGate::Judge(const RequestHead& head, const CallerDirectory& callers) const {
    const std::string* const origin = FindOrigin(head);
    return {Decide(head, origin, callers), CorsFields(origin)};
}

std::variant<AdmittedRequest, HttpReply> RequestGate::Decide(const RequestHead& head,
                                                             const std::string* origin,
                                                             const CallerDirectory& callers) const {
    if (const auto fault = FindFault(head, origin)) {
        return ReplyOf(*fault);
    }
    if (head.method == kOptions && head.origin && head.requestedMethod) {
        return NoContentReply(kPreflightFields);
    }
    auto caller = callers.Find(head.authorization);
    if (!caller) {
        return ReplyOf(GatewayFailure::Unauthorized);
    }
    if (head.path == kWholeServer) {  // only OPTIONS comes with it
        return NoContentReply(kWholeServerFields);
    }
    const auto segments = ReadPath(head.path);
    if (!segments) {
        return ReplyOf(GatewayFailure::BadPath);
    }
    RouteTable::Answer found = m_routes.Find(head.method, *segments);
    if (!found.route) {
        return found.allowedMethods.empty() ? ReplyOf(GatewayFailure::PathNotFound)
                                            : MethodNotAllowedReply(found.allowedMethods);
    }
    if (found.route->takesAway && head.method == kHead) {
        return NoContentReply("");
    }
    auto query = ReadQuery(head.query);
    if (!query) {
        return ReplyOf(GatewayFailure::BadQuery);
    }
    if (head.contentLength > m_maxBodyBytes) {
        return ReplyOf(GatewayFailure::BodyTooLarge);
    }
    AdmittedRequest admitted{
        *std::move(found.route), *std::move(query), std::move(caller->context), caller->key,
        head.contentType && IsJsonContentType(*head.contentType) && IsPlainEncoding(head.contentEncoding)};
    if (head.contentLength > 0 && !admitted.bodyIsJson) {
        return ReplyOf(GatewayFailure::UnsupportedMediaType);
    }
    return admitted;
}

std::variant<MadeRequest, HttpReply> RequestGate::MakeRequest(const AdmittedRequest& admitted,
                                                              std::string_view body) {
    if (!body.empty() && !admitted.bodyIsJson) {  // of a chunked body only its end tells whether there is any
        return ReplyOf(GatewayFailure::UnsupportedMediaType);
    }
    Parameters request;
    try {
        request = Parameters::fromJSON(body);
    } catch (const std::runtime_error& error) {
        return ReplyOf(GatewayFailure::BodyNotJson, error.what());
    }
    if (request.IsArray()) {
        return ReplyOf(GatewayFailure::BodyNotAnObject);
    }
    for (const std::string& name : admitted.query.GetTopLevelParameterNames()) {
        request.CopyValue(admitted.query, name, name);
    }
    for (const auto& [name, text] : admitted.route.placeholders) {
        request.SetParameter(name, text);
    }
    const std::size_t documentBytes = request.DocumentBytes();  // none where it was written to
    return MadeRequest{std::move(request), documentBytes};
}

}  // namespace PlatformAbstraction::Rest
