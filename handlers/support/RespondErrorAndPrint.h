#pragma once

#include <string>

namespace PlatformAbstraction::Messaging {
class ServiceMessageResponse;
}  // namespace PlatformAbstraction::Messaging

namespace Weftline::Services::Scheduler {

/// Answers with an error that the operator sees too: `message` goes to standard output as a line of its own
/// before the answer goes out. Gives what `RespondError` gives.
/// Any thread may call; `response` is the caller's.
bool RespondErrorAndPrint(PlatformAbstraction::Messaging::ServiceMessageResponse& response,
                          const std::string& code, const std::string& message);

}  // namespace Weftline::Services::Scheduler
