#pragma once

#include <string>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageResultsFuture.h"

namespace Weftline::Services::Scheduler::MsgHandlersUtils {

/// The whole answer to a question that was sent to another service. Blocks the calling thread for ten seconds
/// at most. `serviceName` only goes into the texts of failures.
///
/// Throws `std::runtime_error` when no answer came in time. When the service answered with an error, throws a
/// `Parameters`, which is no `std::exception`: `Description`, and the error's own words as `ErrorString` and
/// `ErrorDetails`.
CoreServices::Parameters WaitForResult(PlatformAbstraction::Messaging::MessageResultsFuture& future,
                                       const std::string& serviceName);

}  // namespace Weftline::Services::Scheduler::MsgHandlersUtils
