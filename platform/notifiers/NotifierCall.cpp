#include "platform/notifiers/NotifierCall.h"

#include <exception>
#include <string>

#include "base/log/PlatformLog.h"

namespace PlatformAbstraction {

void LogFailedNotifier() noexcept {
    try {
        try {
            throw;
        } catch (const std::exception& failure) {
            Log::Warning(std::string("A notifier failed: ") + failure.what());
        } catch (...) {
            Log::Warning("A notifier failed for an unknown reason.");
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): the log failed as well, and there is nobody left to tell
    }
}

}  // namespace PlatformAbstraction
