#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/nats/NatsConnection.h"
#include "platform/messaging/nats/NatsSettings.h"
#include "platform/messaging/nats/PendingAnswers.h"

namespace PlatformAbstraction::Messaging {

/// The way to the bus, which comes and goes: a thread of its own makes a new connection, with all the
/// subscriptions, whenever the last one is lost. What was asked over a lost connection ends with "BUS_AWAY",
/// and so does what is asked while there is none; nothing is sent twice. Owned by the bus, which closes it;
/// answers that are under way may outlive that. Any thread may call.
class NatsLink : public std::enable_shared_from_this<NatsLink> {
public:
    /// Throws `NatsBusError` when the bus cannot be joined.
    static std::shared_ptr<NatsLink> Open(const NatsSettings& settings);
    NatsLink(const NatsLink&) = delete;
    NatsLink& operator=(const NatsLink&) = delete;
    ~NatsLink() = default;

    using SubscriptionNumber = NatsConnection::SubscriptionNumber;

    /// In effect when this returns, or as soon as the bus is back.
    SubscriptionNumber Subscribe(const std::string& subject, const std::string& group,
                                 NatsConnection::OnMessage onMessage);
    /// From now on the messages go to others, and those that came were given to their functions, when this
    /// returns or the patience is over.
    void Unsubscribe(const std::vector<SubscriptionNumber>& numbers, std::chrono::milliseconds patience);

    /// Sends `data` to the subject and ends the exchange with what comes back.
    void Ask(const std::string& subject, std::string_view data, const PendingAnswers::Address& whom,
             const std::shared_ptr<MessageExchange>& exchange);
    NatsConnection::Sent Publish(const std::string& subject, std::string_view data);
    /// Whether there is no connection at the moment. Costs no lock.
    bool IsAway() const noexcept { return m_isAway; }
    /// The largest message that the server takes; the last one's, while the bus is away.
    std::size_t MaxPayload();

    /// `Unsubscribe` of all, and for good.
    void Leave(std::chrono::milliseconds patience);
    /// Lets what was sent go out, within the patience, and ends what waits with "SERVICE_STOPPING". For the
    /// owner, once.
    void Close(std::chrono::milliseconds patience);

private:
    struct Subscription {
        SubscriptionNumber number = 0;
        std::string subject;
        std::string group;
        NatsConnection::OnMessage onMessage;
    };
    struct Current {
        std::unique_ptr<NatsConnection> connection;
        std::shared_ptr<PendingAnswers> pending;
        std::string inbox;
    };

    explicit NatsLink(const NatsSettings& settings) : m_settings(settings) {}

    std::shared_ptr<Current> GetCurrent();
    /// Makes the connection and takes it for the current one. Throws `NatsBusError`.
    void Connect();
    void NoteLost(const PendingAnswers* pending);
    void ComeBackWheneverLost();
    void TryToComeBack(std::string& lastFailure);

    const NatsSettings m_settings;
    std::thread m_thread;  // of the owner's alone

    // Held while subscriptions are made, so that none is missed by a new connection. Taken before `m_mutex`.
    Mutex m_subscribing;
    std::vector<Subscription> m_subscriptions QUILLON_GUARDED_BY(m_subscribing);
    SubscriptionNumber m_lastNumber QUILLON_GUARDED_BY(m_subscribing) = 0;
    std::size_t m_numConnects QUILLON_GUARDED_BY(m_subscribing) = 0;
    bool m_hasLeft QUILLON_GUARDED_BY(m_subscribing) = false;

    Mutex m_mutex;
    Condition m_changed;
    std::shared_ptr<Current> m_pCurrent QUILLON_GUARDED_BY(m_mutex);           // null while the bus is away
    std::vector<std::shared_ptr<Current>> m_lost QUILLON_GUARDED_BY(m_mutex);  // for the thread to let go
    std::atomic<bool> m_isAway = true;                                         // as `m_pCurrent` has it
    std::size_t m_maxPayload QUILLON_GUARDED_BY(m_mutex) = 0;
    bool m_isClosed QUILLON_GUARDED_BY(m_mutex) = false;
};

}  // namespace PlatformAbstraction::Messaging
