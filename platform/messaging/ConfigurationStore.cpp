#include "platform/messaging/ConfigurationStore.h"

#include "base/concurrency/Mutex.h"

namespace PlatformAbstraction {

namespace {

struct Store {
    Mutex mutex;
    std::map<std::string, std::string> values QUILLON_GUARDED_BY(mutex);
    std::vector<std::string> secureKeys;  // the main thread's alone, at start
};

// Never destroyed: detached work of handlers may still read settings while the process ends.
Store& TheStore() {
    static auto* const store = new Store;
    return *store;
}

}  // namespace

void AddConfigData(const std::string& key, const std::string& value) {
    Store& store = TheStore();
    const MutexLock lock(store.mutex);
    store.values.insert_or_assign(key, value);
}

std::map<std::string, std::string> GetConfigData() {
    Store& store = TheStore();
    const MutexLock lock(store.mutex);
    return store.values;
}

std::string GetConfigValue(const std::string& key) {
    Store& store = TheStore();
    const MutexLock lock(store.mutex);
    const auto found = store.values.find(key);
    return found == store.values.end() ? std::string() : found->second;
}

std::vector<std::string>& ConfigDataSecureKeys() {
    return TheStore().secureKeys;
}

}  // namespace PlatformAbstraction
