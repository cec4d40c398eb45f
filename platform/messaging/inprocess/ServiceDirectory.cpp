#include "platform/messaging/inprocess/ServiceDirectory.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace PlatformAbstraction::Messaging {

namespace {

// Longer patience is cut to this, so that no deadline overflows the clock.
constexpr std::chrono::hours kLongestPatience{24};

}  // namespace

ServiceGroup::ServiceGroup(std::vector<std::shared_ptr<ServiceEndpoint>> instances)
    : m_instances(std::move(instances)) {}

Acceptance ServiceGroup::PostToOne(std::string_view operation,
                                   std::unique_ptr<QueuedMessage>& message) const {
    const std::size_t turn = m_instances.size() == 1 ? 0 : m_nextTurn.fetch_add(1, std::memory_order_relaxed);
    auto result = Acceptance::NotFound;
    for (std::size_t i = 0; i < m_instances.size(); ++i) {
        const auto one = m_instances[(turn + i) % m_instances.size()]->Post(operation, message);
        if (one == Acceptance::Accepted) {
            return one;
        }
        // An instance that is full or stopping tells the sender more than one that does not know the
        // operation.
        result = one == Acceptance::NotFound ? result : one;
    }
    return result;
}

ServiceDirectory::ServiceDirectory(const InProcessBusSettings& settings) : m_settings(settings) {
    m_tables.push_back(std::make_unique<const Table>());
    m_pTable = m_tables.back().get();
}

ServiceDirectory::~ServiceDirectory() = default;

std::shared_ptr<ServiceEndpoint> ServiceDirectory::Attach(const ServiceInfo& service) {
    const std::lock_guard lock(m_mutex);
    if (m_isStopped) {
        throw std::logic_error("The service \"" + service.GetName() +
                               "\" was attached to a bus that has stopped.");
    }
    Table table = *m_pTable.load();
    const auto group = std::find_if(table.begin(), table.end(), [&service](const auto& one) {
        return one->GetInstances().front()->IsAt(service.GetName(), service.GetRealm(), service.GetVersion());
    });
    auto instances =
        group == table.end() ? std::vector<std::shared_ptr<ServiceEndpoint>>() : (*group)->GetInstances();
    auto endpoint = std::make_shared<ServiceEndpoint>(service, m_settings, shared_from_this());
    instances.push_back(endpoint);
    auto grown = std::make_shared<const ServiceGroup>(std::move(instances));
    if (group == table.end()) {
        table.push_back(std::move(grown));
    } else {
        *group = std::move(grown);
    }
    m_tables.push_back(std::make_unique<const Table>(std::move(table)));
    m_pTable.store(m_tables.back().get(), std::memory_order_release);
    return endpoint;
}

const ServiceGroup* ServiceDirectory::Find(const std::string& service, const std::string& realm,
                                           std::int32_t version) const {
    for (const auto& group : *m_pTable.load(std::memory_order_acquire)) {
        if (group->GetInstances().front()->IsAt(service, realm, version)) {
            return group.get();
        }
    }
    return nullptr;
}

void ServiceDirectory::Stop(std::chrono::steady_clock::duration patience) {
    const auto endpoints = MarkStopped();
    const auto deadline = std::chrono::steady_clock::now() +
                          std::min<std::chrono::steady_clock::duration>(patience, kLongestPatience);
    // All are drained before any is closed: a message under way in one may need an answer of another.
    for (const auto& endpoint : endpoints) {
        endpoint->Drain();
    }
    for (const auto& endpoint : endpoints) {
        endpoint->WaitUntilQuiet(deadline);
    }
    for (const auto& endpoint : endpoints) {
        endpoint->Close(deadline);
    }
}

std::vector<std::shared_ptr<ServiceEndpoint>> ServiceDirectory::MarkStopped() {
    std::vector<std::shared_ptr<ServiceEndpoint>> endpoints;
    const std::lock_guard lock(m_mutex);
    if (std::exchange(m_isStopped, true)) {
        return endpoints;
    }
    for (const auto& group : *m_pTable.load()) {
        endpoints.insert(endpoints.end(), group->GetInstances().begin(), group->GetInstances().end());
    }
    return endpoints;
}

}  // namespace PlatformAbstraction::Messaging
