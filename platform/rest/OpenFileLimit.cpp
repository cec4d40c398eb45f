#include "platform/rest/OpenFileLimit.h"

#include <sys/resource.h>

#include <algorithm>
#include <string>

#include "base/log/PlatformLog.h"

namespace PlatformAbstraction::Rest {

namespace {

// More than the rest of the process has open: some for each of the ten connections to the store's file, and
// the log, the index of jobs, the listeners and the loops.
constexpr std::size_t kReserve = 128;

}  // namespace

std::size_t ConnectionsThatFit(std::size_t wanted) {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return wanted;
    }
    if (const rlimit raised{limit.rlim_max, limit.rlim_max}; ::setrlimit(RLIMIT_NOFILE, &raised) == 0) {
        limit = raised;
    }
    const auto files = static_cast<std::size_t>(limit.rlim_cur);
    const std::size_t room = files - std::min(kReserve, files / 2);
    if (room >= wanted) {
        return wanted;
    }
    Log::Warning("At most " + std::to_string(room) +
                 " connections at once, for the system lets this process open " + std::to_string(files) +
                 " files (ulimit -n).");
    return room;
}

}  // namespace PlatformAbstraction::Rest
