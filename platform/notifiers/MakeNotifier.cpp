#include "platform/notifiers/MakeNotifier.h"

#include <string>
#include <utility>

#include "platform/notifiers/CompositeNotifier.h"
#include "platform/notifiers/ConsoleNotifier.h"
#include "platform/notifiers/SafeNotifier.h"

namespace PlatformAbstraction {

// The messaging is a notifier's to keep, once there is one that has a use for it.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
std::unique_ptr<IGenericNotifier> MakeNotifier(std::shared_ptr<Messaging::BusMessaging> /*busMessaging*/) {
    auto console = std::make_unique<ConsoleNotifier>(std::string());
    auto composite = std::make_unique<CompositeNotifier>();
    composite->Add(std::move(console));
    return std::make_unique<SafeNotifier>(std::move(composite));
}

}  // namespace PlatformAbstraction
