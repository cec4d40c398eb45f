#pragma once

#include <string>
#include <string_view>

#include "base/parameters/Parameters.h"

namespace Weftline::Services::Scheduler {

// Values that a tree may lack: one that is missing or of another type reads as blank.
std::string TextOrEmpty(const CoreServices::Parameters& tree, std::string_view key);
bool FlagOrFalse(const CoreServices::Parameters& tree, std::string_view key);

}  // namespace Weftline::Services::Scheduler
