#include "QueryCoordinatorService.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "FakeBusMessaging.h"
#include "MessageContexts.h"

namespace Weftline::Services::Scheduler {
namespace {

using CoreServices::Parameters;
using TestSupport::FakeBusMessaging;
using TestSupport::ScriptedAnswer;

std::string Outcome(const std::function<Parameters()>& query) {
    try {
        return query().toJSON();
    } catch (const Parameters& error) {
        return "thrown tree: " + error.toJSON();
    } catch (const std::runtime_error& failure) {
        return std::string("thrown: ") + failure.what();
    }
}

TEST(QueryCoordinatorService, EveryFormAsksTheCoordinatorAndGivesItsWholeAnswer) {
    using BusPointer = std::shared_ptr<FakeBusMessaging>;
    const Parameters request = Parameters::fromJSON(R"({"any":[1]})");
    const std::function<Parameters(const BusPointer&)> forms[] = {
        [&](const BusPointer& bus) {
            return QueryCoordinatorService(TestSupport::MakeAnonymousContext(bus), "farm 7", "op", request);
        },
        [&](const BusPointer& bus) {
            const std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> messaging = bus;
            return QueryCoordinatorService(messaging, "farm 7", "op", request);
        },
        [&](const BusPointer& bus) {
            const SendRequestFunction send = [bus](const auto& dispatch) {
                return bus->SendRequest(dispatch);
            };
            return QueryCoordinatorService(send, "farm 7", "op", request);
        },
    };
    const std::string query =
        "MsgHandlersUtils::WaitForResult() - Query to orvik.quillon.processing.coordinator ";
    for (const auto& form : forms) {
        const auto bus = std::make_shared<FakeBusMessaging>();
        const auto ask = [&] { return form(bus); };
        bus->On("op", ScriptedAnswer::Text(R"({"results":{},"more":1})"));
        bus->On("op", ScriptedAnswer::Never());
        bus->On("op", ScriptedAnswer::Error("C", "M"));
        EXPECT_EQ(Outcome(ask), R"({"results":{},"more":1})");
        EXPECT_EQ(Outcome(ask), "thrown: " + query + "Timeout");
        EXPECT_EQ(Outcome(ask), R"(thrown tree: {"Description":")" + query +
                                    R"(FAILED","ErrorString":"C","ErrorDetails":"M"})");
        const auto sent = bus->Sent().back().dispatch;
        EXPECT_EQ(sent.service, "orvik.quillon.processing.coordinator");
        EXPECT_EQ(sent.realm, "farm 7");
        EXPECT_EQ(sent.version, 1);
        EXPECT_EQ(sent.parameters, request);
        EXPECT_EQ(bus->Waits(), std::vector<std::int64_t>(3, 10'000'000));
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
