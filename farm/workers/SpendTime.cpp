#include "farm/workers/SpendTime.h"

#include <condition_variable>
#include <mutex>

#include "base/concurrency/BlockingRegion.h"
#include "platform/messaging/HandlerErrors.h"
#include "platform/messaging/HandlerInvocation.h"

namespace Quillon::Farm {

void SpendTime(std::chrono::nanoseconds time, const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock lock(mutex);
    {
        const PlatformAbstraction::BlockingRegion region;
        stopped.wait_for(lock, stop, time, [] { return false; });
    }
    if (stop.stop_requested()) {
        throw PlatformAbstraction::Messaging::MessageHandlerError(
            PlatformAbstraction::Messaging::kServiceStopping, "The worker stops before the task is done.");
    }
}

}  // namespace Quillon::Farm
