#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace PlatformAbstraction::Rest {

/// The head of one request, read strictly. All texts are views into the bytes that were read.
struct RequestHead {
    std::string_view method;
    std::string_view authority;  ///< of a target in absolute form; else empty
    std::string_view path;       ///< begins with '/', or is "*"; not decoded
    std::string_view query;      ///< behind the '?'; not decoded
    std::string_view host;       ///< host, and port if one was given
    std::optional<std::string_view> contentType;
    std::optional<std::string_view> contentEncoding;
    std::optional<std::string_view> origin;
    std::optional<std::string_view> fetchSite;  ///< how a browser calls the page that asks
    std::optional<std::string_view> authorization;
    std::optional<std::string_view> requestedMethod;  ///< what a CORS preflight asks for
    std::uint64_t contentLength = 0;
    bool chunked = false;
    bool isHttp10 = false;
    bool keepAlive = false;
    bool expectsContinue = false;

    bool HasBody() const { return chunked || contentLength > 0; }
};

/// Reads a head that ends in its empty line. Empty unless what the request says and where it ends is beyond
/// doubt: two readers that differ over one byte of this are how a request is smuggled past the one in front.
std::optional<RequestHead> CheckRequestHead(std::string_view head);

/// A host of letters, digits, '-', '.', '_', or an IPv6 literal in brackets, and a port unless it is left
/// out.
struct HostAndPort {
    std::string_view host;
    std::optional<std::uint16_t> port;
};
std::optional<HostAndPort> ReadHostAndPort(std::string_view text);

/// Finds the end of a head in a buffer that fills up.
class HeadScanner {
public:
    enum class Progress { Incomplete, Complete, Malformed };

    /// `buffer` holds what the last call saw and what came since. Malformed where it cannot become a head, so
    /// that nobody waits for the rest of it: a line feed that stands alone, or a first byte of no method.
    Progress Scan(std::string_view buffer);
    /// The length of the head with its empty line, once it is complete.
    std::size_t GetHeadSize() const { return m_scanned; }
    void Reset() { m_scanned = 0; }

private:
    std::size_t m_scanned = 0;
};

}  // namespace PlatformAbstraction::Rest
