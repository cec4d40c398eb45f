#include "handlers/support/RequestValues.h"

#include <stdexcept>

#include "Core/src/TreeValues.h"
#include "platform/messaging/HandlerErrors.h"

namespace Weftline::Services::Scheduler {

std::string RequestedString(const CoreServices::Parameters& request, std::string_view key) {
    namespace Messaging = PlatformAbstraction::Messaging;
    try {
        return GetRequiredString(request, key);
    } catch (const std::runtime_error& missing) {
        throw Messaging::Blamed<std::runtime_error>(Messaging::Blame::Client, missing.what(), key);
    }
}

}  // namespace Weftline::Services::Scheduler
