#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "platform/messaging/inprocess/InProcessBus.h"
#include "tests/messaging/FunctionHandlers.h"

namespace TestSupport {

// Only a fault ever waits this long.
constexpr std::chrono::seconds kDeadline{60};
constexpr std::int64_t kDeadlineMicroseconds = 60'000'000;

/// Looks again and again until it is so.
inline bool Eventually(const std::function<bool()>& isSo) {
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (!isSo() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return isSo();
}

/// A count that threads wait for.
class Tally {
public:
    void Add() { ++m_count; }
    std::size_t Get() const { return m_count; }
    bool WaitFor(std::size_t count) const {
        return Eventually([this, count] { return m_count >= count; });
    }

private:
    std::atomic<std::size_t> m_count = 0;
};

struct PromisedAnswer final : Messaging::AnswerReceiver {
    void Prepare(Messaging::MessageAnswer answer) override { prepared = std::move(answer); }
    void Send() override { promise.set_value(std::move(prepared)); }

    Messaging::MessageAnswer prepared;
    std::promise<Messaging::MessageAnswer> promise;
};

/// What a message from outside is answered with.
inline Messaging::MessageAnswer AnswerOf(Messaging::MessageSink& sink, std::string_view operation,
                                         const CoreServices::Parameters& context = {}) {
    auto receiver = std::make_unique<PromisedAnswer>();
    auto answer = receiver->promise.get_future();
    sink.Deliver(operation, {}, context, std::move(receiver));
    return answer.wait_for(kDeadline) == std::future_status::ready ? answer.get()
                                                                   : Messaging::MessageAnswer();
}

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

/// Each operation has a route of its name.
inline std::shared_ptr<Messaging::ServiceInfo> MakeService(const std::string& name,
                                                           const Operations& operations) {
    auto service = std::make_shared<Messaging::ServiceInfo>();
    service->SetNameRealmVersion(name, "test", 1);
    for (const auto& [operation, function] : operations) {
        service->AddMessageHandlerV2(
            std::make_shared<FunctionHandlerV2>(Registration(operation, operation), function));
    }
    return service;
}

inline Messaging::ServiceMessageDispatch To(const std::string& service, const std::string& operation,
                                            const Parameters& request = {}) {
    Messaging::ServiceMessageDispatch dispatch(service, "test", 1, operation);
    dispatch.parameters = request;
    return dispatch;
}

/// How the exchange ended: the result tree as JSON, or the code of the error.
inline std::string EndOf(Messaging::MessageResultsFuture& future) {
    std::string code, message;
    Parameters results;
    if (!future.WaitForDone(kDeadlineMicroseconds)) {
        return "under way";
    }
    if (future.GetErrorDetails(code, message)) {
        return code;
    }
    return future.GetResults(results) ? results.toJSON() : "nothing";
}

inline Parameters Echo(const Parameters& request, const ContextPointer& /*context*/) {
    return request;
}

/// A handler that asks another one and answers with how that ended.
inline FunctionHandlerV2::Function Relay(const std::string& service, const std::string& operation) {
    return [service, operation](const Parameters& request, const ContextPointer& context) {
        Parameters answer;
        const auto messaging = context->GetContextBusMessaging();
        answer.SetParameter("relayed", EndOf(*messaging->SendRequest(To(service, operation, request))));
        return answer;
    };
}

}  // namespace TestSupport
