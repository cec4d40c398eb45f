#include "base/failpoint/Failpoint.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <string>

namespace PlatformAbstraction {

namespace {

struct ArmedPoint {
    std::string name;
    std::atomic<long> passesLeft;
};

// Leaked on purpose: detached threads may still come by while the process ends.
ArmedPoint& Armed() {
    static ArmedPoint& armed = *[] {
        const char* const variable = std::getenv("QUILLON_FAILPOINT");
        const std::string text = variable != nullptr ? variable : "";
        const std::size_t colon = text.find(':');
        const long passes = colon == std::string::npos ? 1 : std::strtol(&text[colon + 1], nullptr, 10);
        return new ArmedPoint{text.substr(0, colon), passes};
    }();
    return armed;
}

}  // namespace

void PassFailpoint(std::string_view name) noexcept {
    ArmedPoint& armed = Armed();
    if (armed.name == name && --armed.passesLeft == 0) {
        static_cast<void>(std::raise(SIGKILL));
    }
}

}  // namespace PlatformAbstraction
