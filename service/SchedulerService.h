#pragma once

#include <cstdint>
#include <string>

#include "service/ServiceBase.h"

namespace Weftline::Services::Scheduler {

/// The scheduler: its name and version, the one option of its own, and the one table of its message handlers.
/// It has no state while it runs; the handlers belong to the service's description.
class SchedulerService final : public ServiceBase {
public:
    boost::program_options::options_description GetServiceOptions() override;
    std::string GetServiceName() override;
    std::int32_t GetServiceVersion() override;
    bool RegisterErrors(ServiceInfoPointer serviceInfo) override;
    bool RegisterServiceMessageHandlers(ServiceInfoPointer serviceInfo, BusConnectionPointer busConnection,
                                        bool enableOldHALPrototype) override;

private:
    bool m_enableOldHALPrototype = false;  // accepted for old installations; nothing depends on it
};

}  // namespace Weftline::Services::Scheduler
