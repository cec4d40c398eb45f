#pragma once

#include <set>
#include <string>

namespace Weftline::Services::Scheduler {

/// The kinds that clients mean by "Weftline jobs", also some that this service does not submit. Never changes
/// and is never destroyed; any thread may read.
const std::set<std::string>& WeftlineJobKinds();

}  // namespace Weftline::Services::Scheduler
