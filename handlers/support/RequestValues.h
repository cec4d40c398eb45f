#pragma once

#include <string>
#include <string_view>

#include "base/parameters/Parameters.h"

namespace Weftline::Services::Scheduler {

/// As `GetRequiredString`, of what a client has sent: the failure says that it is his, and names the key.
std::string RequestedString(const CoreServices::Parameters& request, std::string_view key);

}  // namespace Weftline::Services::Scheduler
