#include "handlers/support/RespondErrorAndPrint.h"

#include "handlers/support/PrintLine.h"
#include "platform/messaging/ServiceMessageResponse.h"

namespace Weftline::Services::Scheduler {

bool RespondErrorAndPrint(PlatformAbstraction::Messaging::ServiceMessageResponse& response,
                          const std::string& code, const std::string& message) {
    PrintLine(message);
    return response.RespondError(code, message);
}

}  // namespace Weftline::Services::Scheduler
