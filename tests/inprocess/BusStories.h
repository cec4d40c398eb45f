#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/messaging/inprocess/InProcessBus.h"
#include "tests/messaging/FunctionHandlers.h"

namespace TestSupport {

namespace Messaging = PlatformAbstraction::Messaging;

// Only a fault ever waits this long.
constexpr std::chrono::seconds kDeadline{60};
constexpr std::int64_t kDeadlineMicroseconds = 60'000'000;

/// A count that threads wait for.
class Tally {
public:
    void Add() {
        const std::lock_guard lock(m_mutex);
        ++m_count;
        m_changed.notify_all();
    }
    bool WaitFor(std::size_t count) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, kDeadline, [&] { return m_count >= count; });
    }
    std::size_t Get() {
        const std::lock_guard lock(m_mutex);
        return m_count;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_count = 0;
};

/// A handler at work that goes on when the test says so.
struct Hold {
    Tally arrived;
    Tally opened;
    void Pass() {
        arrived.Add();
        opened.WaitFor(1);
    }
};

/// A bus whose handlers may use what is declared before it: letting it go waits for those at work.
inline std::shared_ptr<Messaging::InProcessBus> MakeBus(
    const Messaging::InProcessBusSettings& settings = {}) {
    auto bus = Messaging::InProcessBus::Create(settings);
    auto* const shown = bus.get();
    return {shown, [bus = std::move(bus)](auto*) { bus->Stop(kDeadline); }};
}

using Operations = std::map<std::string, FunctionHandlerV2::Function>;

inline std::shared_ptr<Messaging::ServiceInfo> MakeService(const std::string& name,
                                                           const Operations& operations) {
    auto service = std::make_shared<Messaging::ServiceInfo>();
    service->SetNameRealmVersion(name, "test", 1);
    for (const auto& [operation, function] : operations) {
        service->AddMessageHandlerV2(std::make_shared<FunctionHandlerV2>(Registration(operation), function));
    }
    return service;
}

inline Messaging::ServiceMessageDispatch To(const std::string& service, const std::string& operation,
                                            const CoreServices::Parameters& request = {}) {
    Messaging::ServiceMessageDispatch dispatch(service, "test", 1, operation);
    dispatch.parameters = request;
    return dispatch;
}

/// How the exchange ended: the result tree as JSON, or the code of the error.
inline std::string EndOf(Messaging::MessageResultsFuture& future) {
    std::string code;
    std::string message;
    CoreServices::Parameters results;
    if (!future.WaitForDone(kDeadlineMicroseconds)) {
        return "under way";
    }
    if (future.GetErrorDetails(code, message)) {
        return code;
    }
    return future.GetResults(results) ? results.toJSON() : "nothing";
}

}  // namespace TestSupport
