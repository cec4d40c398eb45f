#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/messaging/MessageSink.h"
#include "platform/messaging/ServiceInfo.h"
#include "platform/messaging/inprocess/QueuedMessage.h"
#include "platform/messaging/inprocess/WorkerPool.h"

namespace PlatformAbstraction::Messaging {

class InProcessBus;

/// One instance of a service on the bus: its handlers by operation, its queue and threads, and the place for
/// messages from outside. Owned by the bus and by whoever attached the service. Thread-safe, also after the
/// end: then it takes nothing.
class ServiceEndpoint final : public MessageSink {
public:
    /// Messages may be answered from here on; their handlers talk through `bus`.
    ServiceEndpoint(const ServiceInfo& service, const InProcessBusSettings& settings,
                    std::weak_ptr<InProcessBus> bus);
    ServiceEndpoint(const ServiceEndpoint&) = delete;
    ServiceEndpoint& operator=(const ServiceEndpoint&) = delete;
    ~ServiceEndpoint() override;

    void Deliver(std::string_view operation, CoreServices::Parameters request,
                 CoreServices::Parameters contextParameters, AnswerCallback onAnswer) override;

    /// Takes the message if it is `Accepted`, and leaves it to the caller otherwise.
    [[nodiscard]] Acceptance Post(std::string_view operation, std::unique_ptr<QueuedMessage>& message);

    WorkerPool& GetPool() { return *m_pPool; }

    /// Closes the pool, once it was drained: answers what nobody came to with an error and lets the handlers
    /// go.
    void Close(WorkerPool::Clock::time_point deadline);

private:
    const std::string m_name;
    // Constant after construction:
    std::map<std::string, std::size_t, std::less<>> m_operations;  // the places in the runner's table
    std::shared_ptr<WorkerPool> m_pPool;
};

}  // namespace PlatformAbstraction::Messaging
