#include "platform/rest/RequestHead.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <system_error>

#include "platform/rest/HttpText.h"

namespace PlatformAbstraction::Rest {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kMostDigitsOfLength = 18;  // any number of so many digits fits 64 bits

using Field = std::optional<std::string_view>;

// The headers that are read; all but `Connection` stand once at the most.
struct Fields {
    Field host;
    Field contentLength;
    Field transferEncoding;
    Field expect;
    Field contentType;
    Field contentEncoding;
    Field origin;
    Field fetchSite;
    Field authorization;
    Field requestedMethod;
    bool saysClose = false;
    bool saysKeepAlive = false;
};

struct KnownField {
    std::string_view name;
    Field Fields::*value;
};

constexpr std::array kKnownFields{
    KnownField{"Host", &Fields::host},
    KnownField{"Content-Length", &Fields::contentLength},
    KnownField{"Transfer-Encoding", &Fields::transferEncoding},
    KnownField{"Expect", &Fields::expect},
    KnownField{"Content-Type", &Fields::contentType},
    KnownField{"Content-Encoding", &Fields::contentEncoding},
    KnownField{"Origin", &Fields::origin},
    KnownField{"Sec-Fetch-Site", &Fields::fetchSite},
    KnownField{"Authorization", &Fields::authorization},
    KnownField{"Access-Control-Request-Method", &Fields::requestedMethod},
};

// Cuts the text up to `end` off the front of `rest`. Empty where there is no such end.
std::optional<std::string_view> CutUpTo(std::string_view& rest, std::string_view end) {
    const std::size_t position = rest.find(end);
    if (position == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view front = rest.substr(0, position);
    rest.remove_prefix(position + end.size());
    return front;
}

bool IsTargetCharacter(char character) {
    return character > ' ' && character < 0x7f && character != '#';
}

bool IsValueCharacter(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte == '\t' || (byte >= ' ' && byte != 0x7f);
}

// Cuts the scheme off a target in absolute form.
bool CutScheme(std::string_view& target) {
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (target.size() > scheme.size() && EqualsIgnoringCase(target.substr(0, scheme.size()), scheme)) {
            target.remove_prefix(scheme.size());
            return true;
        }
    }
    return false;
}

bool ReadTarget(std::string_view target, RequestHead& head) {
    if (target.empty() || !std::all_of(target.begin(), target.end(), IsTargetCharacter)) {
        return false;
    }
    if (target == "*") {
        head.path = target;
        return head.method == "OPTIONS";
    }
    if (CutScheme(target)) {
        const std::size_t end = std::min(target.find_first_of("/?"), target.size());
        head.authority = target.substr(0, end);
        target.remove_prefix(end);
        if (!ReadHostAndPort(head.authority)) {
            return false;
        }
        if (target.empty()) {
            target = "/";
        }
    }
    if (target.front() != '/') {
        return false;
    }
    const std::size_t mark = target.find('?');
    head.path = target.substr(0, mark);
    head.query = mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1);
    return true;
}

bool ReadRequestLine(std::string_view line, RequestHead& head) {
    const auto method = CutUpTo(line, " ");
    const auto target = CutUpTo(line, " ");
    if (!method || !target || !IsToken(*method)) {
        return false;
    }
    head.method = *method;
    head.isHttp10 = line == "HTTP/1.0";
    return (head.isHttp10 || line == "HTTP/1.1") && ReadTarget(*target, head);
}

void ReadConnection(std::string_view value, Fields& fields) {
    while (!value.empty()) {
        const std::size_t comma = std::min(value.find(','), value.size());
        const std::string_view option = Trimmed(value.substr(0, comma));
        fields.saysClose = fields.saysClose || EqualsIgnoringCase(option, "close");
        fields.saysKeepAlive = fields.saysKeepAlive || EqualsIgnoringCase(option, "keep-alive");
        value.remove_prefix(std::min(comma + 1, value.size()));
    }
}

// A line that begins with a blank, a folded one, has no token before its colon and so is refused here.
bool ReadField(std::string_view line, Fields& fields) {
    const auto name = CutUpTo(line, ":");
    if (!name || !IsToken(*name) || !std::all_of(line.begin(), line.end(), IsValueCharacter)) {
        return false;
    }
    const std::string_view value = Trimmed(line);
    if (EqualsIgnoringCase(*name, "Connection")) {
        ReadConnection(value, fields);
        return true;
    }
    for (const KnownField& known : kKnownFields) {
        if (EqualsIgnoringCase(*name, known.name)) {
            Field& field = fields.*known.value;
            if (field) {
                return false;
            }
            field = value;
            return true;
        }
    }
    return true;
}

bool ReadFraming(const Fields& fields, RequestHead& head) {
    if (fields.transferEncoding) {
        head.chunked = true;
        return *fields.transferEncoding == "chunked" && !fields.contentLength && !head.isHttp10;
    }
    if (!fields.contentLength) {
        return true;
    }
    const std::string_view text = *fields.contentLength;
    if (!IsDigits(text) || text.size() > kMostDigitsOfLength) {
        return false;
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), head.contentLength);
    return error == std::errc() && end == text.data() + text.size();
}

bool ReadExpectation(const Fields& fields, RequestHead& head) {
    if (!fields.expect) {
        return true;
    }
    head.expectsContinue = !head.isHttp10;
    return EqualsIgnoringCase(*fields.expect, "100-continue");
}

bool IsHostCharacter(char character) {
    return IsTokenCharacter(character) &&
           std::string_view("!#$%&'*+^`|~").find(character) == std::string_view::npos;
}

bool IsHost(std::string_view host) {
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        in6_addr address{};
        return ::inet_pton(AF_INET6, std::string(host.substr(1, host.size() - 2)).c_str(), &address) == 1;
    }
    return !host.empty() && std::all_of(host.begin(), host.end(), IsHostCharacter);
}

}  // namespace

std::optional<HostAndPort> ReadHostAndPort(std::string_view text) {
    HostAndPort result;
    const std::size_t bracket = text.find(']');
    const std::size_t colon = text.find(':', bracket == std::string_view::npos ? 0 : bracket);
    result.host = text.substr(0, colon);
    if (!IsHost(result.host)) {
        return std::nullopt;
    }
    if (colon != std::string_view::npos) {
        const std::string_view digits = text.substr(colon + 1);
        std::uint16_t port = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
        if (!IsDigits(digits) || error != std::errc() || end != digits.data() + digits.size()) {
            return std::nullopt;
        }
        result.port = port;
    }
    return result;
}

std::optional<RequestHead> CheckRequestHead(std::string_view head) {
    RequestHead result;
    auto line = CutUpTo(head, kLineEnd);
    if (!line || !ReadRequestLine(*line, result)) {
        return std::nullopt;
    }
    Fields fields;
    for (line = CutUpTo(head, kLineEnd); line && !line->empty(); line = CutUpTo(head, kLineEnd)) {
        if (!ReadField(*line, fields)) {
            return std::nullopt;
        }
    }
    if (!line || !head.empty() || !fields.host || !ReadHostAndPort(*fields.host)) {
        return std::nullopt;
    }
    if (!ReadFraming(fields, result) || !ReadExpectation(fields, result)) {
        return std::nullopt;
    }
    result.host = *fields.host;
    result.contentType = fields.contentType;
    result.contentEncoding = fields.contentEncoding;
    result.origin = fields.origin;
    result.fetchSite = fields.fetchSite;
    result.authorization = fields.authorization;
    result.requestedMethod = fields.requestedMethod;
    result.keepAlive = !fields.saysClose && (!result.isHttp10 || fields.saysKeepAlive);
    return result;
}

HeadScanner::Progress HeadScanner::Scan(std::string_view buffer) {
    if (m_scanned == 0 && !buffer.empty() && !IsTokenCharacter(buffer.front())) {
        return Progress::Malformed;
    }
    while (true) {
        const std::size_t feed = buffer.find('\n', m_scanned);
        if (feed == std::string_view::npos) {
            m_scanned = buffer.size();
            return Progress::Incomplete;
        }
        if (buffer[feed - 1] != '\r') {  // there is a byte before it, for the first one is no line feed
            return Progress::Malformed;
        }
        m_scanned = feed + 1;
        if (feed >= 2 && buffer[feed - 2] == '\n') {
            return Progress::Complete;
        }
    }
}

}  // namespace PlatformAbstraction::Rest
