#include "platform/messaging/inprocess/InProcessBus.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <utility>

#include "platform/messaging/MessageAnswer.h"
#include "platform/messaging/inprocess/MessagePosting.h"
#include "platform/messaging/inprocess/QueuedMessage.h"
#include "platform/messaging/inprocess/ServiceEndpoint.h"

namespace PlatformAbstraction::Messaging {

namespace {

// Longer patience is cut to this, so that no deadline overflows the clock.
constexpr std::chrono::hours kLongestPatience{24};

std::chrono::steady_clock::time_point DeadlineOf(std::chrono::steady_clock::duration patience) {
    return std::chrono::steady_clock::now() +
           std::min<std::chrono::steady_clock::duration>(patience, kLongestPatience);
}

}  // namespace

std::shared_ptr<InProcessBus> InProcessBus::Create(const InProcessBusSettings& settings) {
    if (settings.threads == 0 || settings.maxQueuedMessages == 0) {
        throw std::invalid_argument("A bus needs at least one thread and room for one message.");
    }
    return std::shared_ptr<InProcessBus>(new InProcessBus(settings));
}

InProcessBus::~InProcessBus() {
    Stop(std::chrono::steady_clock::duration::zero());
}

std::shared_ptr<MessageSink> InProcessBus::Attach(const std::shared_ptr<ServiceInfo>& service) {
    if (!service || service->GetName().empty()) {
        throw std::invalid_argument("A service without a name was attached to the bus.");
    }
    const MutexLock lock(m_mutex);
    if (m_isStopped) {
        throw std::logic_error("The service \"" + service->GetName() +
                               "\" was attached to a bus that has stopped.");
    }
    auto endpoint = std::make_shared<ServiceEndpoint>(
        *service, m_settings,
        [bus = weak_from_this()](const CoreServices::Parameters& context, MessageId handled) {
            return std::make_shared<InProcessMessaging>(bus, context, handled);
        });
    m_services[{service->GetName(), service->GetRealm(), service->GetVersion()}].instances.push_back(
        endpoint);
    return endpoint;
}

void InProcessBus::Detach(const std::shared_ptr<MessageSink>& attached,
                          std::chrono::steady_clock::duration patience) {
    Instances detached;
    {
        const MutexLock lock(m_mutex);
        for (auto service = m_services.begin(); service != m_services.end();) {
            detached = TakeOut(service->second.instances, attached);
            service = service->second.instances.empty() ? m_services.erase(service) : std::next(service);
            if (!detached.empty()) {
                break;
            }
        }
    }
    StopInstances(detached, DeadlineOf(patience));
}

std::shared_ptr<BusMessaging> InProcessBus::GetMessaging() {
    return std::make_shared<InProcessMessaging>(weak_from_this(), CoreServices::Parameters());
}

Instances InProcessBus::InstancesAt(const std::string& service, const std::string& realm,
                                    std::int32_t version) {
    const MutexLock lock(m_mutex);
    const auto found = m_services.find(std::tie(service, realm, version));
    if (found == m_services.end()) {
        return {};
    }
    Instances instances = found->second.instances;
    const std::size_t turn = found->second.nextTurn++ % instances.size();
    std::rotate(instances.begin(), instances.begin() + static_cast<std::ptrdiff_t>(turn), instances.end());
    return instances;
}

void InProcessBus::Stop(std::chrono::steady_clock::duration patience) {
    const Instances endpoints = MarkStopped();
    StopInstances(endpoints, DeadlineOf(patience));
}

Instances InProcessBus::MarkStopped() {
    const MutexLock lock(m_mutex);
    Instances endpoints;
    if (!std::exchange(m_isStopped, true)) {
        for (const auto& [address, service] : m_services) {
            endpoints.insert(endpoints.end(), service.instances.begin(), service.instances.end());
        }
    }
    return endpoints;
}

InProcessMessaging::InProcessMessaging(std::weak_ptr<InProcessBus> bus,
                                       CoreServices::Parameters contextParameters, MessageId handled)
    : m_pBus(std::move(bus)), m_contextParameters(std::move(contextParameters)), m_handled(handled) {}

std::shared_ptr<MessageResultsFuture> InProcessMessaging::SendRequest(
    const ServiceMessageDispatch& dispatch) {
    HeldOutput::Settle();
    auto exchange = std::make_shared<MessageExchange>();
    auto message = MakeMessage(dispatch, exchange);
    message->isPartOfWorkUnderWay = WorkerPool::IsOnWorkerThread();
    if (auto error = Send(dispatch, std::move(message))) {
        exchange->End(std::move(*error));
    }
    return std::make_shared<MessageResultsFuture>(std::move(exchange));
}

std::shared_ptr<MessageResultsFuture> InProcessMessaging::SendNotification(
    const ServiceMessageDispatch& dispatch) {
    HeldOutput::Settle();
    return EndedFuture(Send(dispatch, MakeMessage(dispatch, nullptr)));
}

std::shared_ptr<MessageResultsFuture> InProcessMessaging::BroadcastNotification(
    const ServiceMessageDispatch& dispatch) {
    HeldOutput::Settle();
    const auto bus = m_pBus.lock();
    if (!bus) {
        return EndedFuture(ErrorOf(Acceptance::Stopping, dispatch.service, dispatch.operation));
    }
    std::optional<MessageAnswer> firstError;
    for (const auto& instance : bus->InstancesAt(dispatch.service, dispatch.realm, dispatch.version)) {
        auto message = MakeMessage(dispatch, nullptr);
        auto error =
            ErrorOf(instance->Post(dispatch.operation, message), dispatch.service, dispatch.operation);
        firstError = firstError ? std::move(firstError) : std::move(error);
    }
    return EndedFuture(std::move(firstError));
}

std::unique_ptr<QueuedMessage> InProcessMessaging::MakeMessage(
    const ServiceMessageDispatch& dispatch, std::shared_ptr<MessageExchange> exchange) const {
    auto receiver = exchange ? std::make_unique<ExchangeEnd>(std::move(exchange)) : nullptr;
    auto message =
        std::make_unique<QueuedMessage>(dispatch.parameters, m_contextParameters, std::move(receiver));
    message->parent = m_handled;
    return message;
}

std::optional<MessageAnswer> InProcessMessaging::Send(const ServiceMessageDispatch& dispatch,
                                                      std::unique_ptr<QueuedMessage> message) const {
    const auto bus = m_pBus.lock();
    if (!bus) {
        return ErrorOf(Acceptance::Stopping, dispatch.service, dispatch.operation);
    }
    const Instances instances = bus->InstancesAt(dispatch.service, dispatch.realm, dispatch.version);
    return instances.empty() ? ServiceNotFound(dispatch.service, dispatch.realm, dispatch.version)
                             : ErrorOf(PostToOne(instances, dispatch.operation, message), dispatch.service,
                                       dispatch.operation);
}

}  // namespace PlatformAbstraction::Messaging
