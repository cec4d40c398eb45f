#pragma once

#include <string>
#include <string_view>

#include "base/parameters/Parameters.h"
#include "platform/messaging/HandlerErrors.h"

/// Strict reading of what a message of the farm carries. A value that is missing, or of another type, is the
/// sender's mistake and named to him in a `BadRequestHandlerError`.
namespace Quillon::Farm {

template <class Value>
Value RequiredValue(const CoreServices::Parameters& request, std::string_view key) {
    Value value{};
    if (!request.GetParameter(key, value)) {
        throw PlatformAbstraction::Messaging::BadRequestHandlerError(
            "\"" + std::string(key) +
            (request.HasParameter(key) ? "\" is of the wrong type" : "\" is missing"));
    }
    return value;
}

/// `fallback` where the key is missing.
template <class Value>
Value ValueOr(const CoreServices::Parameters& request, std::string_view key, Value fallback) {
    return request.HasParameter(key) ? RequiredValue<Value>(request, key) : fallback;
}

}  // namespace Quillon::Farm
