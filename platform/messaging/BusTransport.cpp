#include "platform/messaging/BusTransport.h"

#include <map>
#include <stdexcept>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "base/concurrency/Mutex.h"
#include "base/log/PlatformLog.h"
#include "platform/messaging/ConfigurationStore.h"

namespace PlatformAbstraction::Messaging {

namespace {

struct Modes {
    Mutex mutex;
    std::map<std::string, BusTransportFactory> onOffer QUILLON_GUARDED_BY(mutex);
    BusTransportFactory chosen QUILLON_GUARDED_BY(mutex);
};

// Never destroyed: nothing that lives as long as the process may find it gone.
Modes& TheModes() {
    static auto* const modes = new Modes;
    return *modes;
}

std::string NamesOf(const std::map<std::string, BusTransportFactory>& modes) {
    std::string names;
    for (const auto& [name, factory] : modes) {
        names.append(names.empty() ? "" : ", ").append(1, '"').append(name).append(1, '"');
    }
    return names.empty() ? "none" : names;
}

}  // namespace

void OfferDeploymentMode(const std::string& mode, BusTransportFactory factory) {
    Modes& modes = TheModes();
    const MutexLock lock(modes.mutex);
    modes.onOffer.insert_or_assign(mode, std::move(factory));
}

bool InitializeDeploymentMode(const std::string& mode) {
    if (const auto level = GetConfigValue(std::string(Weftline::Options::LogLevel)); !level.empty()) {
        Log::SetLevel(level);
    }
    Modes& modes = TheModes();
    const MutexLock lock(modes.mutex);
    const auto found = modes.onOffer.find(mode);
    if (found == modes.onOffer.end()) {
        Log::Error("The deployment mode \"" + mode +
                   "\" is not on offer; on offer: " + NamesOf(modes.onOffer) + ".");
        return false;
    }
    modes.chosen = found->second;
    return true;
}

std::unique_ptr<BusTransport> MakeBusTransport() {
    BusTransportFactory factory;
    {
        Modes& modes = TheModes();
        const MutexLock lock(modes.mutex);
        factory = modes.chosen;
    }
    if (!factory) {
        throw std::logic_error("A bus was asked for before a deployment mode was chosen.");
    }
    return factory();
}

}  // namespace PlatformAbstraction::Messaging
