#include "platform/rest/HttpReply.h"

#include <array>
#include <chrono>
#include <ctime>
#include <utility>

namespace PlatformAbstraction::Rest {

namespace {

using CoreServices::Parameters;

constexpr std::string_view kRetryAfter = "Retry-After: 1\r\n";

constexpr unsigned kNoContent = 204;

// For all answers: none is to be kept, guessed at, or shown as a page.
constexpr std::string_view kCommonFields =
    "Cache-Control: no-store\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Content-Security-Policy: default-src 'none'; frame-ancestors 'none'\r\n";

std::string_view ReasonOf(unsigned status) {
    switch (status) {
        case 200:
            return "OK";
        case kNoContent:
            return "No Content";
        case 400:
            return "Bad Request";
        case 401:
            return "Unauthorized";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        case 408:
            return "Request Timeout";
        case 413:
            return "Content Too Large";
        case 415:
            return "Unsupported Media Type";
        case 431:
            return "Request Header Fields Too Large";
        case 503:
            return "Service Unavailable";
        default:
            return "Internal Server Error";
    }
}

std::string ErrorBody(std::string_view code, std::string_view message, Parameters details) {
    Parameters error;
    error.SetParameter("code", code);
    error.SetParameter("message", message);
    if (!details.IsEmpty()) {
        error.SetChildParameters("details", std::move(details));
    }
    Parameters body;
    body.SetChildParameters("error", std::move(error));
    return body.toJSON();
}

std::string AllowField(std::string_view methods) {
    return "Allow: " + std::string(methods) + "\r\n";
}

// The form of dates in HTTP, whatever the locale. Made anew once a second on each thread.
std::string_view DateText() {
    static constexpr std::array kDays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr std::array kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    thread_local std::time_t t_second = -1;
    thread_local std::string t_text;
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    if (now != t_second) {
        std::tm parts{};
        gmtime_r(&now, &parts);
        std::array<char, 16> day{};
        std::array<char, 24> rest{};
        std::strftime(day.data(), day.size(), ", %d ", &parts);
        std::strftime(rest.data(), rest.size(), " %Y %H:%M:%S GMT", &parts);
        t_text = kDays[static_cast<std::size_t>(parts.tm_wday)];
        t_text.append(day.data()).append(kMonths[static_cast<std::size_t>(parts.tm_mon)]).append(rest.data());
        t_second = now;
    }
    return t_text;
}

}  // namespace

HttpReply ReplyOf(Messaging::MessageAnswer answer, std::string_view allowedMethods) {
    HttpReply reply;
    switch (answer.kind) {
        case Messaging::MessageAnswer::Kind::Results:
            reply.body = answer.results.toJSON();
            break;
        case Messaging::MessageAnswer::Kind::Text:
            reply.body = std::move(answer.text);
            break;
        case Messaging::MessageAnswer::Kind::Error:
            reply.status = StatusOfErrorCode(answer.code);
            reply.body = ErrorBody(answer.code, answer.message, std::move(answer.details));
            break;
    }
    if (reply.status == 405) {
        reply.fields = AllowField(allowedMethods);
    } else if (reply.status == 503) {
        reply.fields = kRetryAfter;
    }
    return reply;
}

HttpReply ReplyOf(GatewayFailure failure, std::string_view more) {
    const FailureOnTheWire described = Describe(failure);
    std::string message(described.message);
    if (!more.empty()) {
        message.append(" ").append(more);
    }
    HttpReply reply;
    reply.status = described.status;
    reply.body = ErrorBody(described.code, message, Parameters());
    if (failure == GatewayFailure::Unauthorized) {
        reply.fields = "WWW-Authenticate: Bearer\r\n";
    } else if (reply.status == 503) {
        reply.fields = kRetryAfter;
    }
    return reply;
}

HttpReply MethodNotAllowedReply(std::string_view allowedMethods) {
    HttpReply reply = ReplyOf(GatewayFailure::MethodNotAllowed);
    reply.fields = AllowField(allowedMethods);
    return reply;
}

HttpReply NoContentReply(std::string fields) {
    HttpReply reply;
    reply.status = kNoContent;
    reply.fields = std::move(fields);
    return reply;
}

void WriteReplyHead(const HttpReply& reply, Persistence persistence, std::string& out) {
    out = "HTTP/1.1 ";
    out.append(std::to_string(reply.status)).append(" ").append(ReasonOf(reply.status));
    out.append("\r\nDate: ").append(DateText()).append("\r\n");
    if (reply.status != kNoContent) {
        out.append("Content-Type: application/json\r\nContent-Length: ");
        out.append(std::to_string(reply.body.size())).append("\r\n");
    }
    out.append(kCommonFields).append(reply.fields);
    if (persistence == Persistence::Close) {
        out.append("Connection: close\r\n");
    } else if (persistence == Persistence::KeepAliveOfHttp10) {
        out.append("Connection: keep-alive\r\n");
    }
    out.append("\r\n");
}

}  // namespace PlatformAbstraction::Rest
