#pragma once

#include <string_view>

namespace PlatformAbstraction::Rest {

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
    HeadTooLarge,
    InternalError,
    Stopping,
};

/// What the client is told of it. The texts live as long as the process.
struct FailureOnTheWire {
    unsigned status;
    std::string_view code;
    std::string_view message;
};
FailureOnTheWire Describe(GatewayFailure failure);

/// The status of an error that a handler or the bus reports.
unsigned StatusOfErrorCode(std::string_view code);

}  // namespace PlatformAbstraction::Rest
