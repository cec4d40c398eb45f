#pragma once

#include <string>

#include "platform/messaging/RegistrationParams.h"

namespace PlatformAbstraction {

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

    RegistrationParams GetResult() const;

private:
    RegistrationParams m_result;
};

}  // namespace PlatformAbstraction
