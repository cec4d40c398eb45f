#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/messaging/inprocess/InProcessBusSettings.h"
#include "platform/messaging/inprocess/ServiceEndpoint.h"

namespace PlatformAbstraction::Messaging {

/// The instances of one service, in the order in which they were attached. Constant but for whose turn it is.
class ServiceGroup {
public:
    explicit ServiceGroup(std::vector<std::shared_ptr<ServiceEndpoint>> instances);

    const std::vector<std::shared_ptr<ServiceEndpoint>>& GetInstances() const { return m_instances; }

    /// To the instance whose turn it is, or to the next one that takes the message.
    Acceptance PostToOne(std::string_view operation, std::unique_ptr<QueuedMessage>& message) const;

private:
    const std::vector<std::shared_ptr<ServiceEndpoint>> m_instances;
    mutable std::atomic<std::size_t> m_nextTurn = 0;
};

/// All services of the bus. Shared by the bus, by all that send, and by the services themselves until `Stop`.
/// Any thread may call.
class ServiceDirectory : public std::enable_shared_from_this<ServiceDirectory> {
public:
    explicit ServiceDirectory(const InProcessBusSettings& settings);
    ServiceDirectory(const ServiceDirectory&) = delete;
    ServiceDirectory& operator=(const ServiceDirectory&) = delete;
    ~ServiceDirectory();

    /// Throws `std::logic_error` after `Stop`.
    std::shared_ptr<ServiceEndpoint> Attach(const ServiceInfo& service);

    /// The service at the address, or null. It lives as long as the directory.
    const ServiceGroup* Find(const std::string& service, const std::string& realm,
                             std::int32_t version) const;

    /// See `InProcessBus::Stop`.
    void Stop(std::chrono::steady_clock::duration patience);

private:
    // One state of the directory. A process holds a handful of services, so they are simply walked through.
    using Table = std::vector<std::shared_ptr<const ServiceGroup>>;

    std::vector<std::shared_ptr<ServiceEndpoint>> MarkStopped();

    const InProcessBusSettings m_settings;
    // Senders read the present table without a lock. A table once shown is kept to the end, since a sender
    // may still be reading it; there are no more of them than services.
    std::atomic<const Table*> m_pTable;
    std::mutex m_mutex;
    // Guarded by `m_mutex`:
    std::vector<std::unique_ptr<const Table>> m_tables;
    bool m_isStopped = false;
};

}  // namespace PlatformAbstraction::Messaging
