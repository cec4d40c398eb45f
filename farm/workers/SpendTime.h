#pragma once

#include <chrono>
#include <stop_token>

namespace Quillon::Farm {

/// What stands for work here: waits that long. A stop ends it at once, and then throws `MessageHandlerError`
/// with the code "SERVICE_STOPPING". The thread counts as waiting, not as at work.
void SpendTime(std::chrono::nanoseconds time, const std::stop_token& stop);

}  // namespace Quillon::Farm
