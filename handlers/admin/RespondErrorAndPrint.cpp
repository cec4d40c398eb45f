#include "RespondErrorAndPrint.h"

#include <iostream>

#include "ServiceMessageResponse.h"

namespace Weftline::Services::Scheduler {

bool RespondErrorAndPrint(PlatformAbstraction::Messaging::ServiceMessageResponse& response,
                          const std::string& code, const std::string& message) {
    // One write: lines of different threads may follow each other, but not stand in each other.
    std::cout << message + '\n';
    return response.RespondError(code, message);
}

}  // namespace Weftline::Services::Scheduler
