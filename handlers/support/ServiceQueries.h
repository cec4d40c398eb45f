#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/parameters/Parameters.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/MessageAnswer.h"
#include "platform/messaging/MessageContext.h"

namespace Weftline::Services::Scheduler::MsgHandlersUtils {

/// Who is to blame where another service has answered with an error.
PlatformAbstraction::Messaging::Blame BlameFor(
    const PlatformAbstraction::Messaging::MessageResultsFuture& future);

/// The whole answer to a question that was sent to another service. Blocks the calling thread for ten seconds
/// at most. `serviceName` only goes into the texts of failures.
///
/// Throws `std::runtime_error` when no answer came in time. When the service answered with an error, throws a
/// `Parameters`, which is no `std::exception`: `Description`, and the error's own words as `ErrorString` and
/// `ErrorDetails`.
CoreServices::Parameters WaitForResult(PlatformAbstraction::Messaging::MessageResultsFuture& future,
                                       const std::string& serviceName);

}  // namespace Weftline::Services::Scheduler::MsgHandlersUtils

namespace Weftline::Services::Scheduler {

// Asks the coordinator of the realm and gives its whole answer. Fails as `MsgHandlersUtils::WaitForResult`
// does, with a thrown `Parameters` for an error answer, and blocks as long. Any thread may call.

/// Puts one request on its way.
using SendRequestFunction =
    std::function<std::shared_ptr<PlatformAbstraction::Messaging::MessageResultsFuture>(
        const PlatformAbstraction::Messaging::ServiceMessageDispatch& dispatch)>;

/// Asks over the bus that the message in hand came by.
CoreServices::Parameters QueryCoordinatorService(
    const std::shared_ptr<PlatformAbstraction::Messaging::MessageContext>& context, const std::string& realm,
    const std::string& operation, const CoreServices::Parameters& parameters);

CoreServices::Parameters QueryCoordinatorService(
    const std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging>& busMessaging,
    const std::string& realm, const std::string& operation, const CoreServices::Parameters& parameters);

CoreServices::Parameters QueryCoordinatorService(const SendRequestFunction& sendRequest,
                                                 const std::string& realm, const std::string& operation,
                                                 const CoreServices::Parameters& parameters);

}  // namespace Weftline::Services::Scheduler
