#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

#include "platform/rest/HttpReply.h"

namespace PlatformAbstraction::Rest {

/// A host of letters, digits, '-', '.', '_', or an IPv6 literal in brackets, and a port unless it is left
/// out or empty.
struct HostAndPort {
    std::string_view host;
    std::optional<std::uint16_t> port;
};
[[nodiscard]] std::optional<HostAndPort> ReadHostAndPort(std::string_view text);

/// The head of one request, read strictly. All texts are views into the bytes that were read.
struct RequestHead {
    std::string_view method;
    std::string_view path;                 ///< begins with '/', or is "*"; not decoded
    std::string_view query;                ///< behind the '?'; not decoded
    std::optional<HostAndPort> authority;  ///< of a target in absolute form
    std::optional<HostAndPort> host;       ///< only HTTP/1.0 may leave it out
    std::optional<std::string_view> contentType;
    std::optional<std::string_view> contentEncoding;
    std::optional<std::string_view> origin;
    std::optional<std::string_view> fetchSite;  ///< how a browser calls the page that asks
    std::optional<std::string_view> authorization;
    std::optional<std::string_view> requestedMethod;  ///< what a CORS preflight asks for
    std::uint64_t contentLength = 0;
    bool chunked = false;
    bool isHttp10 = false;  ///< else 1.1, or a later one that is answered like it
    bool keepAlive = false;
    bool expectsContinue = false;

    bool HasBody() const { return chunked || contentLength > 0; }
};

/// Reads a head that ends in its empty line. A failure unless what the request says and where it ends is
/// beyond doubt: two readers that differ over one byte of this are how a request is smuggled past the one in
/// front.
[[nodiscard]] std::variant<RequestHead, GatewayFailure> ReadRequestHead(std::string_view text);

/// Finds a head in a buffer that fills up. An empty line before it, which old clients send behind a body, is
/// passed over.
class HeadScanner {
public:
    enum class Progress { Incomplete, Complete, Malformed };

    /// `buffer` holds what the last call saw and what came since. Malformed where it cannot become a head, so
    /// that nobody waits for the rest of it: a line feed that stands alone, or a first byte of no method.
    [[nodiscard]] Progress Scan(std::string_view buffer);
    /// Once it is complete: how much of the buffer it takes, and its text.
    std::size_t GetEnd() const { return m_scanned; }
    std::string_view GetHead(std::string_view buffer) const {
        return buffer.substr(m_begin, m_scanned - m_begin);
    }

private:
    std::size_t m_begin = 0;
    std::size_t m_scanned = 0;
};

/// Whether it is nothing, or as much of an empty line as is here.
bool IsBeforeRequest(std::string_view buffer);

}  // namespace PlatformAbstraction::Rest
