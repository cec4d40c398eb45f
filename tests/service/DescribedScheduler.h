#pragma once

#include "platform/messaging/ServiceInfo.h"
#include "service/SchedulerService.h"
#include "tests/support/HandlerFixture.h"

namespace Weftline::Services::Scheduler {

/// The scheduler as it describes itself to a bus, with all of its handlers, which send into the void.
inline std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> DescribeScheduler() {
    const auto info = std::make_shared<PlatformAbstraction::Messaging::ServiceInfo>();
    info->SetNameRealmVersion("orvik.quillon.processing.scheduler", "test", 2);
    EXPECT_TRUE(SchedulerService().RegisterServiceMessageHandlers(
        info, TestSupport::MakeConnection(std::make_shared<TestSupport::FakeBusMessaging>()), false));
    return info;
}

}  // namespace Weftline::Services::Scheduler
