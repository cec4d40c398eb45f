#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/MessageContext.h"
#include "platform/messaging/MessageSink.h"
#include "platform/messaging/ServiceInfo.h"
#include "platform/messaging/inprocess/QueuedMessage.h"
#include "platform/messaging/inprocess/WorkerPool.h"

namespace PlatformAbstraction::Messaging {

struct InProcessBusSettings;

/// Makes what a handler sends through: with the context tree of the message that it answers, and the mark of
/// its handling. Any thread may call.
using MessagingFactory = std::function<std::shared_ptr<BusMessaging>(
    const CoreServices::Parameters& contextParameters, MessageId handled)>;

/// One instance of a service on the bus: its handlers by operation, its queue and threads, and the place for
/// messages from outside. Owned by the bus and by whoever attached the service. Thread-safe, also after the
/// end: then it takes nothing.
class ServiceEndpoint final : public MessageSink {
public:
    /// Messages may be answered from here on; their handlers talk through what
    /// `messaging` makes.
    ServiceEndpoint(const ServiceInfo& service, const InProcessBusSettings& settings,
                    MessagingFactory messaging);
    ServiceEndpoint(const ServiceEndpoint&) = delete;
    ServiceEndpoint& operator=(const ServiceEndpoint&) = delete;
    ~ServiceEndpoint() override;

    void Deliver(std::string_view operation, CoreServices::Parameters request,
                 CoreServices::Parameters contextParameters,
                 std::unique_ptr<AnswerReceiver> receiver) override;

    /// Takes the message if it is `Accepted`, and leaves it to the caller otherwise.
    [[nodiscard]] Acceptance Post(std::string_view operation, std::unique_ptr<QueuedMessage>& message);

    WorkerPool& GetPool() { return *m_pPool; }

    /// Closes the pool, once it was drained: answers what nobody came to, or what is held still, with an
    /// error and lets the handlers go.
    void Close(WorkerPool::Clock::time_point deadline);

private:
    const std::string m_name;
    // Constant after construction:
    std::map<std::string, std::size_t, std::less<>> m_operations;  // the places in the runner's table
    std::shared_ptr<WorkerPool> m_pPool;
};

}  // namespace PlatformAbstraction::Messaging
