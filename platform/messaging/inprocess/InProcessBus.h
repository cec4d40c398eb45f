#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/MessageBus.h"
#include "platform/messaging/MessageContext.h"
#include "platform/messaging/MessageSink.h"
#include "platform/messaging/ServiceInfo.h"

namespace PlatformAbstraction::Messaging {

class QueuedMessage;
class ServiceEndpoint;

/// Limits of each service on the bus of one process; all at least 1, but the stand-ins.
struct InProcessBusSettings {
    /// Handlers at work at once; those that wait for somebody else do not count.
    std::size_t threads = 32;
    /// Waiting handlers that are stood in for, so that there are at most so many threads above `threads`.
    std::size_t maxStandIns = 1024;
    /// Messages waiting for a thread; past that the sender is told at once.
    std::size_t maxQueuedMessages = 4096;
};

/// The bus of one process: the directory of its services. The instances of a service get the requests in
/// turn.
class InProcessBus final : public MessageBus, public std::enable_shared_from_this<InProcessBus> {
public:
    /// Throws `std::invalid_argument` for settings that let no message through.
    static std::shared_ptr<InProcessBus> Create(const InProcessBusSettings& settings = {});
    /// Stops without patience, if nobody has stopped the bus before.
    ~InProcessBus() override;

    std::shared_ptr<MessageSink> Attach(const std::shared_ptr<ServiceInfo>& service) override;
    void Detach(const std::shared_ptr<MessageSink>& attached,
                std::chrono::steady_clock::duration patience) override;
    std::shared_ptr<BusMessaging> GetMessaging() override;
    void Stop(std::chrono::steady_clock::duration patience) override;

    /// For senders: the instances at the address, the one whose turn it is first. Empty where there is none.
    std::vector<std::shared_ptr<ServiceEndpoint>> InstancesAt(const std::string& service,
                                                              const std::string& realm, std::int32_t version);

private:
    struct Service {
        std::vector<std::shared_ptr<ServiceEndpoint>> instances;  // in the order in which they were attached
        std::size_t nextTurn = 0;
    };

    explicit InProcessBus(const InProcessBusSettings& settings) : m_settings(settings) {}
    std::vector<std::shared_ptr<ServiceEndpoint>> MarkStopped();

    const InProcessBusSettings m_settings;
    Mutex m_mutex;
    std::map<std::tuple<std::string, std::string, std::int32_t>, Service, std::less<>> m_services
        QUILLON_GUARDED_BY(m_mutex);
    bool m_isStopped QUILLON_GUARDED_BY(m_mutex) = false;
};

/// Sends over the bus of one process. The messages carry the context tree that it was made with: the one of
/// the message being answered, so that whoever is asked on a caller's behalf knows the caller, or an empty
/// one. `handled` is the message being answered, the parent of all that is sent. Outlives the bus; its
/// messages then end with an error.
class InProcessMessaging final : public BusMessaging {
public:
    InProcessMessaging(std::weak_ptr<InProcessBus> bus, CoreServices::Parameters contextParameters,
                       MessageId handled = {});

    std::shared_ptr<MessageResultsFuture> SendRequest(const ServiceMessageDispatch& dispatch) override;
    std::shared_ptr<MessageResultsFuture> SendNotification(const ServiceMessageDispatch& dispatch) override;
    std::shared_ptr<MessageResultsFuture> BroadcastNotification(
        const ServiceMessageDispatch& dispatch) override;

private:
    std::unique_ptr<QueuedMessage> MakeMessage(const ServiceMessageDispatch& dispatch,
                                               std::shared_ptr<MessageExchange> exchange) const;
    /// The error, if the message was not taken.
    std::optional<MessageAnswer> Send(const ServiceMessageDispatch& dispatch,
                                      std::unique_ptr<QueuedMessage> message) const;

    const std::weak_ptr<InProcessBus> m_pBus;
    const CoreServices::Parameters m_contextParameters;
    const MessageId m_handled;
};

}  // namespace PlatformAbstraction::Messaging
