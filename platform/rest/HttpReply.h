#pragma once

#include <string>
#include <string_view>

#include "platform/messaging/MessageAnswer.h"

namespace PlatformAbstraction::Rest {

/// The statuses that the gateway answers with.
enum class HttpStatus : unsigned {
    Ok = 200,
    NoContent = 204,
    BadRequest = 400,
    Unauthorized = 401,
    Forbidden = 403,
    NotFound = 404,
    MethodNotAllowed = 405,
    RequestTimeout = 408,
    Conflict = 409,
    ContentTooLarge = 413,
    UnsupportedMediaType = 415,
    ExpectationFailed = 417,
    UnprocessableContent = 422,
    HeadersTooLarge = 431,
    InternalServerError = 500,
    NotImplemented = 501,
    ServiceUnavailable = 503,
    VersionNotSupported = 505,
};

/// Why the gateway itself refuses a request.
enum class GatewayFailure {
    MalformedRequest,
    BadPath,
    BadQuery,
    BodyNotJson,
    BodyNotAnObject,
    Unauthorized,
    ForeignHost,
    ForeignOrigin,
    PathNotFound,
    MethodNotAllowed,
    RequestTimeout,
    BodyTooLarge,
    UnsupportedMediaType,
    UnknownExpectation,
    HeadTooLarge,
    InternalError,
    UnknownTransferCoding,
    TooBusy,
    Stopping,
    UnknownVersion,
};

/// One answer, before it goes on the wire. A value, made on any thread.
struct HttpReply {
    HttpStatus status = HttpStatus::Ok;
    std::string body;    ///< JSON, or empty
    std::string fields;  ///< header lines of this answer alone, each with its line end
};

[[nodiscard]] HttpReply ReplyOf(Messaging::MessageAnswer answer, std::string_view allowedMethods);
/// `more` is put behind the failure's own text.
[[nodiscard]] HttpReply ReplyOf(GatewayFailure failure, std::string_view more = {});
[[nodiscard]] HttpReply MethodNotAllowedReply(std::string_view allowedMethods);
/// An answer without a body, to OPTIONS.
[[nodiscard]] HttpReply NoContentReply(std::string fields);

/// How the connection goes on after the answer.
enum class Persistence { KeepAlive, KeepAliveOfHttp10, Close };

/// Writes the head of `reply` into `out`, in place of what it held.
void WriteReplyHead(const HttpReply& reply, Persistence persistence, std::string& out);

}  // namespace PlatformAbstraction::Rest
