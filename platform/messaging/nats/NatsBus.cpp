#include "platform/messaging/nats/NatsBus.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "base/concurrency/HeldOutput.h"
#include "platform/messaging/nats/NatsDelivery.h"
#include "platform/messaging/nats/NatsSubject.h"

namespace PlatformAbstraction::Messaging {

namespace {

using CoreServices::Parameters;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Kind = NatsRequest::Kind;
using Sent = NatsConnection::Sent;

constexpr char kInstances[] = "instances";

// Longer patience is cut to this, so that no deadline overflows the clock.
constexpr std::chrono::hours kLongestPatience{24};
// What others may take of it at most: a server that does not answer, at the begin and at the end.
constexpr milliseconds kLongestLeave{2000};

steady_clock::time_point DeadlineOf(steady_clock::duration patience) {
    return steady_clock::now() + std::min<steady_clock::duration>(patience, kLongestPatience);
}

milliseconds LeftUntil(steady_clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<milliseconds>(deadline - steady_clock::now());
    return std::clamp(left, milliseconds::zero(), kLongestLeave);
}

void CheckNames(const ServiceInfo& service) {
    bool isFit = FitsSubject(service.GetName()) && FitsSubject(service.GetRealm());
    for (const RegistrationParams& registration : service.GetRegistrations()) {
        isFit = isFit && FitsSubject(registration.name);
    }
    if (!isFit) {
        throw std::invalid_argument("The service \"" + service.GetName() +
                                    "\", or a message of it, has a name that is too long for the bus.");
    }
}

/// Where a gateway hands messages in: while the bus is away they are refused, rather than each handler
/// finding out for itself, some after half of their work.
class DoorOfService final : public MessageSink {
public:
    DoorOfService(std::shared_ptr<ServiceEndpoint> endpoint, std::shared_ptr<const NatsLink> link)
        : m_pEndpoint(std::move(endpoint)), m_pLink(std::move(link)) {}

    void Deliver(std::string_view operation, Parameters request, Parameters contextParameters,
                 std::unique_ptr<AnswerReceiver> receiver) override {
        if (m_pLink->IsAway()) {
            receiver->Prepare(MessageAnswer::OfError(
                kBusAway, "The bus is away: \"" + std::string(operation) + "\" was not taken."));
            receiver->Send();
            return;
        }
        m_pEndpoint->Deliver(operation, std::move(request), std::move(contextParameters),
                             std::move(receiver));
    }

private:
    const std::shared_ptr<ServiceEndpoint> m_pEndpoint;
    const std::shared_ptr<const NatsLink> m_pLink;
};

}  // namespace

std::shared_ptr<NatsBus> NatsBus::Create(const NatsSettings& settings) {
    if (settings.services.threads == 0 || settings.services.maxQueuedMessages == 0) {
        throw std::invalid_argument("A bus needs at least one thread and room for one message.");
    }
    return std::shared_ptr<NatsBus>(new NatsBus(settings));
}

NatsBus::NatsBus(const NatsSettings& settings) : m_settings(settings), m_pLink(NatsLink::Open(settings)) {}

NatsBus::~NatsBus() {
    Stop(steady_clock::duration::zero());
}

std::shared_ptr<MessageSink> NatsBus::Attach(const std::shared_ptr<ServiceInfo>& service) {
    if (!service || service->GetName().empty()) {
        throw std::invalid_argument("A service without a name was attached to the bus.");
    }
    CheckNames(*service);
    std::shared_ptr<ServiceEndpoint> endpoint;
    {
        const MutexLock lock(m_mutex);
        if (m_isStopping) {
            throw std::logic_error("The service \"" + service->GetName() +
                                   "\" was attached to a bus that has stopped.");
        }
        endpoint = std::make_shared<ServiceEndpoint>(
            *service, m_settings.services,
            [bus = weak_from_this()](const Parameters& context, MessageId handled) {
                return std::make_shared<NatsMessaging>(bus, context, handled);
            });
        m_services[{service->GetName(), service->GetRealm(), service->GetVersion()}].push_back(endpoint);
    }
    Attached attached{endpoint, {}};
    const auto deliver = DeliveryTo(endpoint, service->GetName(), m_pLink);
    for (const auto& [audience, group] :
         {std::pair(NatsAudience::OneInstance, kInstances), std::pair(NatsAudience::AllInstances, "")}) {
        const std::string subject =
            SubjectOfService(audience, service->GetName(), service->GetRealm(), service->GetVersion());
        attached.subscriptions.push_back(m_pLink->Subscribe(subject + ".*", group, deliver));
    }
    auto door = std::make_shared<DoorOfService>(std::move(endpoint), m_pLink);
    const MutexLock lock(m_mutex);
    m_attached.insert_or_assign(door.get(), std::move(attached));
    return door;
}

void NatsBus::Detach(const std::shared_ptr<MessageSink>& attached, steady_clock::duration patience) {
    const auto deadline = DeadlineOf(patience);
    Attached detached;
    {
        const MutexLock lock(m_mutex);
        auto found = m_attached.extract(attached.get());
        if (found.empty()) {
            return;
        }
        detached = std::move(found.mapped());
        for (auto& [address, instances] : m_services) {
            std::erase(instances, detached.endpoint);
        }
    }
    m_pLink->Unsubscribe(detached.subscriptions, LeftUntil(deadline));
    StopInstances({detached.endpoint}, deadline);
}

std::shared_ptr<BusMessaging> NatsBus::GetMessaging() {
    return std::make_shared<NatsMessaging>(weak_from_this(), Parameters());
}

void NatsBus::Send(Kind kind, const ServiceMessageDispatch& dispatch, const Parameters& context,
                   MessageId handled, const std::shared_ptr<MessageExchange>& exchange) {
    const auto& [service, realm, version, operation, body, reserved, attachments] = dispatch;
    if (IsStopping()) {
        if (!WorkerPool::IsOnWorkerThread()) {
            exchange->End(*ErrorOf(Acceptance::Stopping, service, operation));
            return;
        }
        // The queue is left to the other instances already.
        if (const Instances here = InstancesHere(dispatch); kind == Kind::Request && !here.empty()) {
            auto message =
                std::make_unique<QueuedMessage>(body, context, std::make_unique<ExchangeEnd>(exchange));
            message->parent = handled;
            message->isPartOfWorkUnderWay = true;
            if (auto error = ErrorOf(PostToOne(here, operation, message), service, operation)) {
                exchange->End(std::move(*error));
            }
            return;
        }
    }
    if (!FitsSubject(service) || !FitsSubject(realm)) {
        exchange->End(kind == Kind::Broadcast ? MessageAnswer() : ServiceNotFound(service, realm, version));
        return;
    }
    const std::string data = WriteNatsRequest(kind, handled, context, body);
    if (kind == Kind::Broadcast) {
        Broadcast(dispatch, data, *exchange);
        return;
    }
    m_pLink->Ask(
        SubjectOfService(NatsAudience::OneInstance, service, realm, version) + SubjectOfOperation(operation),
        data, {service, realm, version, operation}, exchange);
}

void NatsBus::Broadcast(const ServiceMessageDispatch& dispatch, const std::string& data,
                        MessageExchange& exchange) {
    const Sent sent = m_pLink->Publish(
        SubjectOfService(NatsAudience::AllInstances, dispatch.service, dispatch.realm, dispatch.version) +
            SubjectOfOperation(dispatch.operation),
        data);
    const std::string what =
        "The broadcast \"" + dispatch.operation + "\" to \"" + dispatch.service + "\" was not sent: ";
    switch (sent) {
        case Sent::Yes:
            exchange.End(MessageAnswer());
            break;
        case Sent::Lost:
            exchange.End(MessageAnswer::OfError(kBusAway, what + "the bus is away."));
            break;
        case Sent::TooLarge:
            exchange.End(MessageAnswer::OfError(kGenericServiceError,
                                                what + "it has " + std::to_string(data.size()) +
                                                    " bytes, and the bus takes " +
                                                    std::to_string(m_pLink->MaxPayload()) + "."));
            break;
    }
}

void NatsBus::Stop(steady_clock::duration patience) {
    {
        const MutexLock lock(m_mutex);
        if (std::exchange(m_isStopping, true)) {
            return;
        }
    }
    const auto deadline = DeadlineOf(patience);
    m_pLink->Leave(LeftUntil(deadline));
    StopInstances(AllInstances(), deadline);
    m_pLink->Close(LeftUntil(deadline));
}

bool NatsBus::IsStopping() {
    const MutexLock lock(m_mutex);
    return m_isStopping;
}

Instances NatsBus::InstancesHere(const ServiceMessageDispatch& dispatch) {
    const MutexLock lock(m_mutex);
    const auto found = m_services.find({dispatch.service, dispatch.realm, dispatch.version});
    return found == m_services.end() ? Instances() : found->second;
}

Instances NatsBus::AllInstances() {
    const MutexLock lock(m_mutex);
    Instances all;
    for (const auto& [address, instances] : m_services) {
        all.insert(all.end(), instances.begin(), instances.end());
    }
    return all;
}

NatsMessaging::NatsMessaging(std::weak_ptr<NatsBus> bus, Parameters contextParameters, MessageId handled)
    : m_pBus(std::move(bus)), m_contextParameters(std::move(contextParameters)), m_handled(handled) {}

std::shared_ptr<MessageResultsFuture> NatsMessaging::SendRequest(const ServiceMessageDispatch& dispatch) {
    return Send(Kind::Request, dispatch);
}

std::shared_ptr<MessageResultsFuture> NatsMessaging::SendNotification(
    const ServiceMessageDispatch& dispatch) {
    return Send(Kind::Notification, dispatch);
}

std::shared_ptr<MessageResultsFuture> NatsMessaging::BroadcastNotification(
    const ServiceMessageDispatch& dispatch) {
    return Send(Kind::Broadcast, dispatch);
}

std::shared_ptr<MessageResultsFuture> NatsMessaging::Send(Kind kind, const ServiceMessageDispatch& dispatch) {
    HeldOutput::Settle();
    auto exchange = std::make_shared<MessageExchange>();
    if (const auto bus = m_pBus.lock()) {
        bus->Send(kind, dispatch, m_contextParameters, m_handled, exchange);
    } else {
        exchange->End(*ErrorOf(Acceptance::Stopping, dispatch.service, dispatch.operation));
    }
    return std::make_shared<MessageResultsFuture>(std::move(exchange));
}

}  // namespace PlatformAbstraction::Messaging
