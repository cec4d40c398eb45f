#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/parameters/Parameters.h"

namespace PlatformAbstraction {

/// The platform's numeric code of a REST method. The service uses these three.
enum class HTTPMethod : std::int32_t {
    Get = 1,     ///< a read
    Post = 2,    ///< a submission with a body
    Delete = 8,  ///< a removal
};

/// "GET", "POST" or "DELETE". Throws `std::invalid_argument` for another code.
std::string_view MethodName(HTTPMethod method);

/// One part of a REST path between its strokes.
struct PathSegment {
    std::string text;  ///< of a placeholder: its name
    bool isPlaceholder = false;

    bool operator==(const PathSegment&) const = default;
};
using PathPattern = std::vector<PathSegment>;

/// A REST path as paths are told apart; a stroke at its begin plays no part.
PathPattern ReadPathPattern(std::string_view restPath);

/// A labelled sample request, published with a handler's registration.
struct MessageExample {
    std::string label;
    CoreServices::Parameters request;
};

/// What one handler says about itself. A value; built with `RegParamsBuilder`.
struct RegistrationParams {
    std::string name;         ///< the message name under which the handler is reached
    std::string description;  ///< one line for people
    std::vector<MessageExample> examples;
    std::string restPath;  ///< relative to the service; may hold `{placeholder}` segments; empty for none
    HTTPMethod restMethod = HTTPMethod::Get;
    bool takesAway =
        false;  ///< a read that hands out once: whoever asks for its head alone does not reach it
};

/// Builds a `RegistrationParams` by calls that chain, in any order. Until they are set, the REST method is a
/// read and every other field is empty.
class RegParamsBuilder {
public:
    RegParamsBuilder& SetName(std::string name);
    RegParamsBuilder& SetDescription(std::string description);
    /// Appends; the examples keep the order of the calls.
    RegParamsBuilder& AddExample(MessageExample example);
    /// Replaces what an earlier call set.
    RegParamsBuilder& SetRESTPath(std::string path);
    RegParamsBuilder& SetRESTMethod(HTTPMethod method);
    RegParamsBuilder& SetTakesAway();

    RegistrationParams GetResult() const;

private:
    RegistrationParams m_result;
};

}  // namespace PlatformAbstraction
