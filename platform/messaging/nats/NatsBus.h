#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "platform/messaging/MessageBus.h"
#include "platform/messaging/inprocess/MessagePosting.h"
#include "platform/messaging/nats/NatsEnvelope.h"
#include "platform/messaging/nats/NatsLink.h"
#include "platform/messaging/nats/NatsSettings.h"

namespace PlatformAbstraction::Messaging {

/// The bus of many machines, on NATS: the services of one process run as on the bus of one process, and the
/// messages go through the server. What differs from there:
///
/// - Each request goes to an instance at random, which takes or refuses it. The sender's future ends when the
///   answer is back, for a notification when the receiver has taken or refused it, for a broadcast at once:
///   what an instance does not take of that is in its log.
/// - While the bus is away messages end with "BUS_AWAY", and so do those that were under way, whose receiver
///   may have done the work: nothing is ever sent again. Messages from outside are not taken meanwhile. The
///   bus comes back by itself.
/// - A receiver that dies, or whose answer is lost with its connection, leaves its senders to their limits of
///   time. A message too large for the server, or an answer, ends with an error.
/// - `Stop` and `Detach` leave the requests to other instances, if there are any; what handlers at work then
/// ask of
///   services here is given to these directly. Out of patience, what waits for answers ends with
///   "SERVICE_STOPPING", also where its receiver still is at work here.
class NatsBus final : public MessageBus, public std::enable_shared_from_this<NatsBus> {
public:
    /// Joins the bus. Throws `NatsBusError` where that is refused or fails, `std::invalid_argument` for
    /// settings that let no message through.
    static std::shared_ptr<NatsBus> Create(const NatsSettings& settings);
    /// Stops without patience, if nobody has stopped the bus before.
    ~NatsBus() override;

    /// Further to what is said there: throws `std::invalid_argument` for names too long for the bus.
    std::shared_ptr<MessageSink> Attach(const std::shared_ptr<ServiceInfo>& service) override;
    void Detach(const std::shared_ptr<MessageSink>& attached,
                std::chrono::steady_clock::duration patience) override;
    std::shared_ptr<BusMessaging> GetMessaging() override;
    void Stop(std::chrono::steady_clock::duration patience) override;

    /// For senders: ends the exchange with the answer, or, for what nobody answers, once it is handed over.
    void Send(NatsRequest::Kind kind, const ServiceMessageDispatch& dispatch,
              const CoreServices::Parameters& context, MessageId handled,
              const std::shared_ptr<MessageExchange>& exchange);

private:
    struct Attached {
        std::shared_ptr<ServiceEndpoint> endpoint;
        std::vector<NatsLink::SubscriptionNumber> subscriptions;
    };

    explicit NatsBus(const NatsSettings& settings);

    bool IsStopping();
    Instances InstancesHere(const ServiceMessageDispatch& dispatch);
    Instances AllInstances();
    void Broadcast(const ServiceMessageDispatch& dispatch, const std::string& data,
                   MessageExchange& exchange);

    const NatsSettings m_settings;
    const std::shared_ptr<NatsLink> m_pLink;

    Mutex m_mutex;
    // By what `Attach` gave, which is only compared: once it is gone, another may come to lie there.
    std::map<const MessageSink*, Attached> m_attached QUILLON_GUARDED_BY(m_mutex);
    std::map<std::tuple<std::string, std::string, std::int32_t>, Instances> m_services
        QUILLON_GUARDED_BY(m_mutex);
    bool m_isStopping QUILLON_GUARDED_BY(m_mutex) = false;
};

/// Sends over the bus, as `InProcessMessaging` does over that of one process.
class NatsMessaging final : public BusMessaging {
public:
    NatsMessaging(std::weak_ptr<NatsBus> bus, CoreServices::Parameters contextParameters,
                  MessageId handled = {});

    std::shared_ptr<MessageResultsFuture> SendRequest(const ServiceMessageDispatch& dispatch) override;
    std::shared_ptr<MessageResultsFuture> SendNotification(const ServiceMessageDispatch& dispatch) override;
    std::shared_ptr<MessageResultsFuture> BroadcastNotification(
        const ServiceMessageDispatch& dispatch) override;

private:
    std::shared_ptr<MessageResultsFuture> Send(NatsRequest::Kind kind,
                                               const ServiceMessageDispatch& dispatch);

    const std::weak_ptr<NatsBus> m_pBus;
    const CoreServices::Parameters m_contextParameters;
    const MessageId m_handled;
};

}  // namespace PlatformAbstraction::Messaging
