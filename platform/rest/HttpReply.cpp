#include "platform/rest/HttpReply.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <stdexcept>
#include <utility>

namespace PlatformAbstraction::Rest {

namespace {

using CoreServices::Parameters;

constexpr std::string_view kRetryAfter = "Retry-After: 1\r\n";

// For all answers: none is to be kept, guessed at, or shown as a page.
constexpr std::string_view kCommonFields =
    "Cache-Control: no-store\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Content-Security-Policy: default-src 'none'; frame-ancestors 'none'\r\n";

// Every status has its own, or this does not compile.
std::string_view ReasonOf(HttpStatus status) {
    switch (status) {
        case HttpStatus::Ok:
            return "OK";
        case HttpStatus::NoContent:
            return "No Content";
        case HttpStatus::BadRequest:
            return "Bad Request";
        case HttpStatus::Unauthorized:
            return "Unauthorized";
        case HttpStatus::Forbidden:
            return "Forbidden";
        case HttpStatus::NotFound:
            return "Not Found";
        case HttpStatus::MethodNotAllowed:
            return "Method Not Allowed";
        case HttpStatus::RequestTimeout:
            return "Request Timeout";
        case HttpStatus::Conflict:
            return "Conflict";
        case HttpStatus::ContentTooLarge:
            return "Content Too Large";
        case HttpStatus::UnsupportedMediaType:
            return "Unsupported Media Type";
        case HttpStatus::ExpectationFailed:
            return "Expectation Failed";
        case HttpStatus::UnprocessableContent:
            return "Unprocessable Content";
        case HttpStatus::HeadersTooLarge:
            return "Request Header Fields Too Large";
        case HttpStatus::InternalServerError:
            return "Internal Server Error";
        case HttpStatus::NotImplemented:
            return "Not Implemented";
        case HttpStatus::ServiceUnavailable:
            return "Service Unavailable";
        case HttpStatus::VersionNotSupported:
            return "HTTP Version Not Supported";
    }
    throw std::logic_error("A status without a reason.");
}

// What the client is told of a failure.
struct FailureOnTheWire {
    HttpStatus status;
    std::string_view code;
    std::string_view message;
};

FailureOnTheWire Describe(GatewayFailure failure) {
    switch (failure) {
        case GatewayFailure::MalformedRequest:
            return {HttpStatus::BadRequest, "MALFORMED_REQUEST", "The request is not well-formed."};
        case GatewayFailure::BadPath:
            return {HttpStatus::BadRequest, "BAD_PATH",
                    "The path holds an escape that is none, or is not UTF-8."};
        case GatewayFailure::BadQuery:
            return {HttpStatus::BadRequest, "BAD_QUERY",
                    "The query string holds an escape that is none, an empty name, or no UTF-8."};
        case GatewayFailure::BodyNotJson:
            return {HttpStatus::BadRequest, "BODY_NOT_JSON", "The body is not valid JSON."};
        case GatewayFailure::BodyNotAnObject:
            return {HttpStatus::BadRequest, "BODY_NOT_AN_OBJECT", "The body is not a JSON object."};
        case GatewayFailure::Unauthorized:
            return {HttpStatus::Unauthorized, "UNAUTHORIZED", "A valid bearer token is needed."};
        case GatewayFailure::ForeignHost:
            return {HttpStatus::Forbidden, "FOREIGN_HOST", "The request is meant for another host."};
        case GatewayFailure::ForeignOrigin:
            return {HttpStatus::Forbidden, "FOREIGN_ORIGIN", "This web origin may not call."};
        case GatewayFailure::PathNotFound:
            return {HttpStatus::NotFound, Messaging::kNotFound, "There is nothing at this path."};
        case GatewayFailure::MethodNotAllowed:
            return {HttpStatus::MethodNotAllowed, Messaging::kMethodNotAllowed,
                    "This path does not take the method."};
        case GatewayFailure::RequestTimeout:
            return {HttpStatus::RequestTimeout, "REQUEST_TIMEOUT", "The request took too long to arrive."};
        case GatewayFailure::BodyTooLarge:
            return {HttpStatus::ContentTooLarge, "BODY_TOO_LARGE", "The body is too large."};
        case GatewayFailure::UnsupportedMediaType:
            return {HttpStatus::UnsupportedMediaType, "UNSUPPORTED_MEDIA_TYPE",
                    "The body must be application/json, in UTF-8, not encoded."};
        case GatewayFailure::UnknownExpectation:
            return {HttpStatus::ExpectationFailed, "EXPECTATION_FAILED",
                    "Only \"100-continue\" can be expected."};
        case GatewayFailure::HeadTooLarge:
            return {HttpStatus::HeadersTooLarge, "HEADERS_TOO_LARGE",
                    "The head of the request is too large."};
        case GatewayFailure::InternalError:
            return {HttpStatus::InternalServerError, Messaging::kGenericServiceError,
                    "The request could not be carried out."};
        case GatewayFailure::UnknownTransferCoding:
            return {HttpStatus::NotImplemented, "UNKNOWN_TRANSFER_CODING",
                    "A body may be chunked and in no other transfer coding."};
        case GatewayFailure::TooBusy:
            return {HttpStatus::ServiceUnavailable, Messaging::kQueueFull,
                    "There is no room for the request at the moment; try again later."};
        case GatewayFailure::Stopping:
            return {HttpStatus::ServiceUnavailable, Messaging::kServiceStopping, "The service is stopping."};
        case GatewayFailure::UnknownVersion:
            return {HttpStatus::VersionNotSupported, "UNKNOWN_HTTP_VERSION",
                    "Only HTTP/1.1 and 1.0 are spoken."};
    }
    throw std::logic_error("A gateway failure without a description.");
}

HttpStatus StatusOf(Messaging::Blame blame) {
    using Messaging::Blame;
    switch (blame) {
        case Blame::Service:
            return HttpStatus::InternalServerError;
        case Blame::Client:
            return HttpStatus::BadRequest;
        case Blame::Absent:
            return HttpStatus::NotFound;
        case Blame::Conflict:
            return HttpStatus::Conflict;
        case Blame::Unprocessable:
            return HttpStatus::UnprocessableContent;
        case Blame::Unavailable:
            return HttpStatus::ServiceUnavailable;
    }
    throw std::logic_error("A blame without a status.");
}

// The status of an error that a handler or the bus reports.
HttpStatus StatusOf(std::string_view code, Messaging::Blame blame) {
    struct Row {
        std::string_view code;
        HttpStatus status;
    };
    static constexpr std::array kRows{
        Row{Messaging::kBadRequest, HttpStatus::BadRequest},
        Row{Messaging::kNotFound, HttpStatus::NotFound},
        Row{Messaging::kHandlerNotFound, HttpStatus::NotFound},
        Row{Messaging::kOperationNotFound, HttpStatus::NotFound},
        Row{Messaging::kMethodNotAllowed, HttpStatus::MethodNotAllowed},
        Row{Messaging::kQueueFull, HttpStatus::ServiceUnavailable},
        Row{Messaging::kServiceStopping, HttpStatus::ServiceUnavailable},
        Row{Messaging::kBusAway, HttpStatus::ServiceUnavailable},
    };
    const auto* const row = std::find_if(kRows.begin(), kRows.end(),
                                         [code](const Row& candidate) { return candidate.code == code; });
    return row == kRows.end() ? StatusOf(blame) : row->status;
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
            reply.status = StatusOf(answer.code, answer.blame);
            if (!answer.field.empty()) {
                answer.details.SetParameter("field", answer.field);
            }
            reply.body = ErrorBody(answer.code, answer.message, std::move(answer.details));
            break;
    }
    if (reply.status == HttpStatus::MethodNotAllowed) {
        reply.fields = AllowField(allowedMethods);
    } else if (reply.status == HttpStatus::ServiceUnavailable) {
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
    } else if (reply.status == HttpStatus::ServiceUnavailable) {
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
    reply.status = HttpStatus::NoContent;
    reply.fields = std::move(fields);
    return reply;
}

void WriteReplyHead(const HttpReply& reply, Persistence persistence, std::string& out) {
    out = "HTTP/1.1 ";
    out.append(std::to_string(static_cast<unsigned>(reply.status)))
        .append(" ")
        .append(ReasonOf(reply.status));
    out.append("\r\nDate: ").append(DateText()).append("\r\n");
    if (reply.status != HttpStatus::NoContent) {
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
