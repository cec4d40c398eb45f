#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/messaging/ServiceInfo.h"
#include "platform/messaging/inprocess/InProcessBusSettings.h"
#include "platform/messaging/inprocess/QueuedMessage.h"
#include "platform/messaging/inprocess/WorkerPool.h"

namespace PlatformAbstraction::Messaging {

class ServiceDirectory;

/// One instance of a service on the bus: its address, its handlers by operation, its queue and threads. Owned
/// by the directory and by whoever attached the service. Any thread may call, also after the end.
class ServiceEndpoint {
public:
    /// Messages may be answered from here on; their handlers talk through `directory`.
    ServiceEndpoint(const ServiceInfo& service, const InProcessBusSettings& settings,
                    std::shared_ptr<const ServiceDirectory> directory);
    ServiceEndpoint(const ServiceEndpoint&) = delete;
    ServiceEndpoint& operator=(const ServiceEndpoint&) = delete;
    ~ServiceEndpoint();

    bool IsAt(const std::string& service, const std::string& realm, std::int32_t version) const;

    /// Takes the message if it is `Accepted`, and leaves it to the caller otherwise.
    Acceptance Post(std::string_view operation, std::unique_ptr<QueuedMessage>& message);

    /// The three steps of the end; see `WorkerPool`. `Close` answers what nobody came to with an error and
    /// lets the handlers go.
    void Drain();
    void WaitUntilQuiet(WorkerPool::Clock::time_point deadline);
    void Close(WorkerPool::Clock::time_point deadline);

private:
    const std::string m_name;
    const std::string m_realm;
    const std::int32_t m_version;
    // Constant after construction:
    std::map<std::string, std::size_t, std::less<>> m_operations;  // the places in the runner's table
    std::shared_ptr<WorkerPool> m_pPool;
};

}  // namespace PlatformAbstraction::Messaging
