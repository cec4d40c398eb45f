#include "platform/rest/GatewayFailure.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "platform/messaging/MessageAnswer.h"

namespace PlatformAbstraction::Rest {

FailureOnTheWire Describe(GatewayFailure failure) {
    switch (failure) {
        case GatewayFailure::MalformedRequest:
            return {400, "MALFORMED_REQUEST", "The request is not well-formed."};
        case GatewayFailure::BadPath:
            return {400, "BAD_PATH", "The path holds an escape that is none, or is not UTF-8."};
        case GatewayFailure::BadQuery:
            return {400, "BAD_QUERY",
                    "The query string holds an escape that is none, an empty name, or no UTF-8."};
        case GatewayFailure::BodyNotJson:
            return {400, "BODY_NOT_JSON", "The body is not valid JSON."};
        case GatewayFailure::BodyNotAnObject:
            return {400, "BODY_NOT_AN_OBJECT", "The body is not a JSON object."};
        case GatewayFailure::Unauthorized:
            return {401, "UNAUTHORIZED", "A valid bearer token is needed."};
        case GatewayFailure::ForeignHost:
            return {403, "FOREIGN_HOST", "The request is meant for another host."};
        case GatewayFailure::ForeignOrigin:
            return {403, "FOREIGN_ORIGIN", "This web origin may not call."};
        case GatewayFailure::PathNotFound:
            return {404, Messaging::kNotFound, "There is nothing at this path."};
        case GatewayFailure::MethodNotAllowed:
            return {405, Messaging::kMethodNotAllowed, "This path does not take the method."};
        case GatewayFailure::RequestTimeout:
            return {408, "REQUEST_TIMEOUT", "The request took too long to arrive."};
        case GatewayFailure::BodyTooLarge:
            return {413, "BODY_TOO_LARGE", "The body is too large."};
        case GatewayFailure::UnsupportedMediaType:
            return {415, "UNSUPPORTED_MEDIA_TYPE",
                    "The body must be application/json, in UTF-8, not encoded."};
        case GatewayFailure::HeadTooLarge:
            return {431, "HEADERS_TOO_LARGE", "The head of the request is too large."};
        case GatewayFailure::InternalError:
            return {500, Messaging::kGenericServiceError, "The request could not be carried out."};
        case GatewayFailure::Stopping:
            return {503, Messaging::kServiceStopping, "The service is stopping."};
    }
    throw std::logic_error("A gateway failure without a description.");
}

unsigned StatusOfErrorCode(std::string_view code) {
    struct Row {
        std::string_view code;
        unsigned status;
    };
    static constexpr std::array kRows{
        Row{Messaging::kBadRequest, 400},      Row{Messaging::kNotFound, 404},
        Row{Messaging::kHandlerNotFound, 404}, Row{Messaging::kMethodNotAllowed, 405},
        Row{Messaging::kQueueFull, 503},       Row{Messaging::kServiceStopping, 503},
    };
    const auto* const row = std::find_if(kRows.begin(), kRows.end(),
                                         [code](const Row& candidate) { return candidate.code == code; });
    return row == kRows.end() ? 500 : row->status;
}

}  // namespace PlatformAbstraction::Rest
