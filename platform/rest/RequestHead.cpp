#include "platform/rest/RequestHead.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <system_error>
#include <utility>

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
    const bool isAbsolute = CutScheme(target);
    if (isAbsolute) {
        const std::size_t end = std::min(target.find_first_of("/?"), target.size());
        head.authority = ReadHostAndPort(target.substr(0, end));
        target.remove_prefix(end);
        if (!head.authority) {
            return false;
        }
    }
    const std::size_t mark = std::min(target.find('?'), target.size());
    head.path = target.substr(0, mark);
    head.query = target.substr(std::min(mark + 1, target.size()));
    if (isAbsolute && head.path.empty()) {
        head.path = "/";
    }
    return head.path.starts_with('/');
}

std::optional<GatewayFailure> ReadVersion(std::string_view version, RequestHead& head) {
    static constexpr std::string_view kProtocol = "HTTP/";
    if (version.size() != kProtocol.size() + 3 || !version.starts_with(kProtocol) || version[6] != '.' ||
        !IsDigits(version.substr(5, 1)) || !IsDigits(version.substr(7, 1))) {
        return GatewayFailure::MalformedRequest;
    }
    head.isHttp10 = version.ends_with("1.0");
    return version[5] == '1' ? std::nullopt : std::optional(GatewayFailure::UnknownVersion);
}

std::optional<GatewayFailure> ReadRequestLine(std::string_view line, RequestHead& head) {
    const auto method = CutUpTo(line, " ");
    const auto target = CutUpTo(line, " ");
    if (!method || !target || !IsToken(*method)) {
        return GatewayFailure::MalformedRequest;
    }
    head.method = *method;
    if (const auto failure = ReadVersion(line, head)) {
        return failure;
    }
    return ReadTarget(*target, head) ? std::nullopt : std::optional(GatewayFailure::MalformedRequest);
}

// What stands before the next comma, without the blanks around it.
std::string_view CutListItem(std::string_view& list) {
    const std::size_t comma = std::min(list.find(','), list.size());
    const std::string_view item = Trimmed(list.substr(0, comma));
    list.remove_prefix(std::min(comma + 1, list.size()));
    return item;
}

void ReadConnection(std::string_view value, Fields& fields) {
    while (!value.empty()) {
        const std::string_view option = CutListItem(value);
        fields.saysClose = fields.saysClose || EqualsIgnoringCase(option, "close");
        fields.saysKeepAlive = fields.saysKeepAlive || EqualsIgnoringCase(option, "keep-alive");
    }
}

bool ReadField(std::string_view line, Fields& fields) {
    const auto read = ReadFieldLine(line);
    if (!read) {
        return false;
    }
    if (EqualsIgnoringCase(read->name, "Connection")) {
        ReadConnection(read->value, fields);
        return true;
    }
    for (const KnownField& known : kKnownFields) {
        if (EqualsIgnoringCase(read->name, known.name)) {
            Field& field = fields.*known.value;
            return !std::exchange(field, read->value);
        }
    }
    return true;
}

bool ReadHost(const Fields& fields, RequestHead& head) {
    if (!fields.host) {
        return head.isHttp10;
    }
    head.host = ReadHostAndPort(*fields.host);
    return head.host.has_value();
}

// A coding that is not known, and not `chunked` in a form that is none.
bool NamesAnotherCoding(std::string_view codings) {
    while (!codings.empty()) {
        const std::string_view coding = CutListItem(codings);
        const std::string_view name = Trimmed(coding.substr(0, coding.find(';')));
        if (IsToken(name) && !EqualsIgnoringCase(name, "chunked")) {
            return true;
        }
    }
    return false;
}

std::optional<GatewayFailure> ReadFraming(const Fields& fields, RequestHead& head) {
    if (fields.transferEncoding) {
        head.chunked = EqualsIgnoringCase(*fields.transferEncoding, "chunked");
        if (fields.contentLength || head.isHttp10) {
            return GatewayFailure::MalformedRequest;
        }
        if (head.chunked) {
            return std::nullopt;
        }
        return NamesAnotherCoding(*fields.transferEncoding) ? GatewayFailure::UnknownTransferCoding
                                                            : GatewayFailure::MalformedRequest;
    }
    if (!fields.contentLength) {
        return std::nullopt;
    }
    const std::string_view text = *fields.contentLength;
    if (!IsDigits(text) || text.size() > kMostDigitsOfLength) {
        return GatewayFailure::MalformedRequest;
    }
    std::from_chars(text.data(), text.data() + text.size(), head.contentLength);
    return std::nullopt;
}

std::optional<GatewayFailure> ReadExpectation(const Fields& fields, RequestHead& head) {
    if (fields.expect && !EqualsIgnoringCase(*fields.expect, "100-continue")) {
        return GatewayFailure::UnknownExpectation;
    }
    head.expectsContinue = fields.expect && !head.isHttp10;
    return std::nullopt;
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
        if (!digits.empty() && (!IsDigits(digits) || error != std::errc())) {
            return std::nullopt;
        }
        result.port = digits.empty() ? std::nullopt : std::optional(port);
    }
    return result;
}

std::variant<RequestHead, GatewayFailure> ReadRequestHead(std::string_view text) {
    RequestHead head;
    auto line = CutUpTo(text, kLineEnd);
    if (!line) {
        return GatewayFailure::MalformedRequest;
    }
    if (const auto failure = ReadRequestLine(*line, head)) {
        return *failure;
    }
    Fields fields;
    for (line = CutUpTo(text, kLineEnd); line && !line->empty(); line = CutUpTo(text, kLineEnd)) {
        if (!ReadField(*line, fields)) {
            return GatewayFailure::MalformedRequest;
        }
    }
    if (!line || !text.empty() || !ReadHost(fields, head)) {
        return GatewayFailure::MalformedRequest;
    }
    if (const auto failure = ReadFraming(fields, head)) {
        return *failure;
    }
    if (const auto failure = ReadExpectation(fields, head)) {
        return *failure;
    }
    head.contentType = fields.contentType;
    head.contentEncoding = fields.contentEncoding;
    head.origin = fields.origin;
    head.fetchSite = fields.fetchSite;
    head.authorization = fields.authorization;
    head.requestedMethod = fields.requestedMethod;
    head.keepAlive = !fields.saysClose && (!head.isHttp10 || fields.saysKeepAlive);
    return head;
}

HeadScanner::Progress HeadScanner::Scan(std::string_view buffer) {
    if (IsBeforeRequest(buffer)) {
        return Progress::Incomplete;
    }
    if (m_scanned == 0) {
        m_begin = m_scanned = buffer.starts_with(kLineEnd) ? kLineEnd.size() : 0;
        if (!IsTokenCharacter(buffer[m_begin])) {
            return Progress::Malformed;
        }
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
        if (feed >= m_begin + 2 && buffer[feed - 2] == '\n') {
            return Progress::Complete;
        }
    }
}

bool IsBeforeRequest(std::string_view buffer) {
    return kLineEnd.starts_with(buffer);
}

}  // namespace PlatformAbstraction::Rest
