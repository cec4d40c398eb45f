#include "platform/messaging/nats/NatsLink.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <exception>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/messaging/inprocess/MessagePosting.h"
#include "platform/messaging/nats/NatsEnvelope.h"

namespace PlatformAbstraction::Messaging {

namespace {

using Address = PendingAnswers::Address;
using Sent = NatsConnection::Sent;

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

MessageAnswer NotSent(const Address& whom) {
    return MessageAnswer::OfError(kBusAway, "The bus is away: " + Quoted(whom.operation) +
                                                " was not sent to the service " + Quoted(whom.service) + ".");
}

MessageAnswer NoAnswer(const Address& whom) {
    return MessageAnswer::OfError(kBusAway, "The bus went away before the service " + Quoted(whom.service) +
                                                " answered " + Quoted(whom.operation) +
                                                ", which it may have carried out.");
}

MessageAnswer Stopped(const Address& whom) {
    return MessageAnswer::OfError(kServiceStopping, "The bus stopped before the service " +
                                                        Quoted(whom.service) + " answered " +
                                                        Quoted(whom.operation) + ".");
}

MessageAnswer TooLarge(const Address& whom, std::size_t size, std::size_t limit) {
    return MessageAnswer::OfError(kGenericServiceError,
                                  Quoted(whom.operation) + " was not sent to the service " +
                                      Quoted(whom.service) + ": it has " + std::to_string(size) +
                                      " bytes, and the bus takes " + std::to_string(limit) + ".");
}

void EndWithAnswer(PendingAnswers& pending, const NatsConnection::Incoming& incoming) {
    const std::string_view digits = incoming.subject.substr(incoming.subject.rfind('.') + 1);
    std::uint64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    pending.End(number, [&](const Address& whom) {
        return incoming.hasNoReceiver ? ServiceNotFound(whom.service, whom.realm, whom.version)
                                      : ReadNatsAnswer(incoming.data);
    });
}

}  // namespace

std::shared_ptr<NatsLink> NatsLink::Open(const NatsSettings& settings) {
    std::shared_ptr<NatsLink> link(new NatsLink(settings));
    link->Connect();
    link->m_thread = std::thread([shown = link.get()] { shown->ComeBackWheneverLost(); });
    return link;
}

void NatsLink::Connect() {
    const MutexLock subscribing(m_subscribing);
    auto current = std::make_shared<Current>();
    current->pending = std::make_shared<PendingAnswers>();
    current->connection = NatsConnection::Open(m_settings, m_numConnects++,
                                               [pending = current->pending, link = weak_from_this()] {
                                                   pending->EndAll(NoAnswer);
                                                   if (const auto shared = link.lock()) {
                                                       shared->NoteLost(pending.get());
                                                   }
                                               });
    NatsConnection& connection = *current->connection;
    current->inbox = connection.SubscribeToInbox(
        [pending = current->pending](const auto& incoming) { EndWithAnswer(*pending, incoming); });
    {
        const MutexLock lock(m_mutex);
        m_maxPayload = connection.MaxPayload();
        m_pCurrent = current;
        m_isAway = false;
    }
    // Only now: what comes is answered over the current connection.
    try {
        for (const Subscription& subscription : m_subscriptions) {
            if (!m_hasLeft) {
                connection.Subscribe(subscription.number, subscription.subject, subscription.group,
                                     subscription.onMessage);
            }
        }
        if (!connection.Flush(m_settings.connectTimeout)) {
            throw NatsBusError("The bus does not answer.");
        }
    } catch (const NatsBusError&) {
        NoteLost(current->pending.get());
        connection.Close();
        throw;
    }
    // Where it was lost before it became the current one, nobody has noted that.
    if (connection.IsLost()) {
        NoteLost(current->pending.get());
    }
}

void NatsLink::NoteLost(const PendingAnswers* pending) {
    const MutexLock lock(m_mutex);
    if (m_pCurrent && m_pCurrent->pending.get() == pending) {
        m_lost.push_back(std::move(m_pCurrent));
        m_pCurrent.reset();
        m_isAway = true;
        m_changed.NotifyAll();
    }
}

void NatsLink::ComeBackWheneverLost() {
    std::string lastFailure;
    MutexLock lock(m_mutex);
    while (!m_isClosed) {
        if (m_pCurrent) {
            m_changed.Wait(lock);
            continue;
        }
        auto lost = std::exchange(m_lost, {});
        lock.unlock();
        if (!lost.empty()) {
            Log::Warning("The bus went away; services on it cannot be reached until it is back.");
            lost.clear();
        }
        TryToComeBack(lastFailure);
        lock.lock();
        const auto next = std::chrono::steady_clock::now() + m_settings.reconnectWait;
        while (!m_pCurrent && !m_isClosed && m_changed.WaitUntil(lock, next)) {
        }
    }
}

// It may fail many times for one reason, which is told once.
void NatsLink::TryToComeBack(std::string& lastFailure) {
    try {
        Connect();
        lastFailure.clear();
        Log::Info("The bus is back.");
    } catch (const std::exception& error) {
        if (lastFailure != error.what()) {
            lastFailure = error.what();
            Log::Warning(lastFailure);
        }
    }
}

std::shared_ptr<NatsLink::Current> NatsLink::GetCurrent() {
    const MutexLock lock(m_mutex);
    return m_pCurrent;
}

NatsLink::SubscriptionNumber NatsLink::Subscribe(const std::string& subject, const std::string& group,
                                                 NatsConnection::OnMessage onMessage) {
    const MutexLock subscribing(m_subscribing);
    const SubscriptionNumber number = ++m_lastNumber;
    m_subscriptions.push_back({number, subject, group, onMessage});
    const auto current = GetCurrent();
    if (!current || m_hasLeft) {
        return number;
    }
    try {
        current->connection->Subscribe(number, subject, group, std::move(onMessage));
        static_cast<void>(current->connection->Flush(m_settings.connectTimeout));
    } catch (const NatsBusError&) {
        current->connection->Close();  // the next one has it from the start
    }
    return number;
}

void NatsLink::Unsubscribe(const std::vector<SubscriptionNumber>& numbers,
                           std::chrono::milliseconds patience) {
    const MutexLock subscribing(m_subscribing);
    std::erase_if(m_subscriptions, [&numbers](const Subscription& subscription) {
        return std::ranges::find(numbers, subscription.number) != numbers.end();
    });
    if (const auto current = GetCurrent()) {
        current->connection->Leave(numbers, patience);
    }
}

void NatsLink::Ask(const std::string& subject, std::string_view data, const Address& whom,
                   const std::shared_ptr<MessageExchange>& exchange) {
    const auto current = GetCurrent();
    const std::uint64_t number = current ? current->pending->Add(exchange, whom) : 0;
    if (number == 0) {
        exchange->End(NotSent(whom));
        return;
    }
    switch (current->connection->Publish(subject, current->inbox + std::to_string(number), data)) {
        case Sent::Yes:
            break;
        case Sent::Lost:
            current->pending->End(number, NoAnswer);
            break;
        case Sent::TooLarge:
            current->pending->End(number, [&](const Address& asked) {
                return TooLarge(asked, data.size(), current->connection->MaxPayload());
            });
            break;
    }
}

Sent NatsLink::Publish(const std::string& subject, std::string_view data) {
    const auto current = GetCurrent();
    return current ? current->connection->Publish(subject, "", data) : Sent::Lost;
}

std::size_t NatsLink::MaxPayload() {
    const MutexLock lock(m_mutex);
    return m_maxPayload;
}

void NatsLink::Leave(std::chrono::milliseconds patience) {
    const MutexLock subscribing(m_subscribing);
    m_hasLeft = true;
    if (const auto current = GetCurrent()) {
        current->connection->Leave(patience);
    }
}

void NatsLink::Close(std::chrono::milliseconds patience) {
    {
        const MutexLock lock(m_mutex);
        m_isClosed = true;
        m_changed.NotifyAll();
    }
    m_thread.join();
    std::shared_ptr<Current> current;
    {
        const MutexLock lock(m_mutex);
        current = std::exchange(m_pCurrent, nullptr);
    }
    if (current) {
        // Among what was sent may be answers to what was asked from here.
        current->connection->LeaveInbox(patience);
        current->pending->EndAll(Stopped);
        current->connection->Close();
    }
}

}  // namespace PlatformAbstraction::Messaging
