#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/parameters/Parameters.h"
#include "platform/messaging/RegistrationParams.h"

namespace Weftline::Services::Scheduler {

/// The registration of a submission operation: a message with a body. The examples keep their order.
PlatformAbstraction::RegistrationParams DescribeSubmission(
    std::string name, std::string description, std::string restPath,
    std::vector<PlatformAbstraction::MessageExample> examples);

using ExampleValue = std::variant<std::string_view, std::int32_t, bool>;

/// A tree of plain values, in the order given.
CoreServices::Parameters TreeOf(std::initializer_list<std::pair<std::string_view, ExampleValue>> values);

/// The example request around the JSON document of that name; throws when there is none.
PlatformAbstraction::MessageExample DocumentedExample(std::string label, const std::string& resourceName);

}  // namespace Weftline::Services::Scheduler
