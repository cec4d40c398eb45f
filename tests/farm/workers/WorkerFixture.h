#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <stop_token>
#include <string>
#include <utility>

#include "farm/workers/WorkerService.h"
#include "platform/messaging/HandlerInvocation.h"
#include "tests/support/FakeBusMessaging.h"
#include "tests/support/HandlerFixture.h"
#include "tests/support/StoresInPlace.h"

namespace Quillon::Farm {

/// A worker of the realm "farm 7" whose tasks take no time unless a test says otherwise.
class WorkerFixture : public testing::Test {
protected:
    WorkerFixture() {
        bus->On("taskProgress", TestSupport::ScriptedAnswer::Results({}));
        bus->On("workerReport", TestSupport::ScriptedAnswer::Results({}));
    }

    /// The tree, or "<code>: <text>".
    std::string Answer(const PlatformAbstraction::Messaging::ServiceInfo& service,
                       const std::string& operation, const std::string& request) const {
        const auto answer = PlatformAbstraction::Messaging::FindHandlerFunction(service, operation)(
            CoreServices::Parameters::fromJSON(request), TestSupport::MakeContext(bus));
        return answer.code.empty() ? answer.results.toJSON() : answer.code + ": " + answer.message;
    }

    static std::string TaskOf(const std::string& kind, const std::string& processingData = "{}") {
        return R"({"jobId":"j-1","workerId":"w","taskKind":"orvik.quillon.task.)" + kind +
               R"(","jobKind":"k","processingData":)" + processingData + "}";
    }

    WorkerSettings Settings(std::chrono::milliseconds taskTime = {}) const {
        return {"farm 7", taskTime, stop.get_token()};
    }

    std::stop_source stop;
    TestSupport::StoresInPlace stores;
    std::shared_ptr<TestSupport::FakeBusMessaging> bus = std::make_shared<TestSupport::FakeBusMessaging>();
};

}  // namespace Quillon::Farm
