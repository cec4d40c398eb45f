#include "platform/messaging/inprocess/InProcessBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <stdexcept>
#include <vector>

#include "platform/messaging/HandlerErrors.h"
#include "tests/inprocess/BusStories.h"

namespace PlatformAbstraction::Messaging {
namespace {

using CoreServices::Parameters;
using testing::AllOf;
using testing::HasSubstr;
using namespace TestSupport;  // NOLINT(google-build-using-namespace)
using Futures = std::vector<std::shared_ptr<MessageResultsFuture>>;

/// What a message from outside is answered with.
MessageAnswer AnswerOf(MessageSink& sink, std::string_view operation, const Parameters& context = {}) {
    auto answered = std::make_shared<std::promise<MessageAnswer>>();
    auto answer = answered->get_future();
    sink.Deliver(operation, {}, context,
                 [answered](MessageAnswer given) { answered->set_value(std::move(given)); });
    return answer.wait_for(kDeadline) == std::future_status::ready ? answer.get() : MessageAnswer();
}

TEST(InProcessBus, RequestsAreAnsweredAndTellOnWhoseBehalf) {
    std::vector<MessageId> parents;  // of what was asked, one after the other
    const auto note = [&](const auto&, const auto& context) {
        parents.push_back(context->GetParentMessage());
        return context->GetContextParameters();
    };
    const auto askTwice = [](const auto& request, const auto& context) {
        Relay("asked", "note")(request, context);
        return Relay("asked", "note")(request, context);
    };
    const auto fail = [](const auto&, const auto&) -> Parameters {
        throw MessageHandlerError("MY_CODE", "mine");
    };
    const auto bus = MakeBus();
    bus->Attach(MakeService("asked", {{"note", note}, {"fail", fail}}));
    const auto asking = bus->Attach(MakeService("asking", {{"askTwice", askTwice}}));
    EXPECT_EQ(EndOf(*bus->GetMessaging()->SendRequest(To("asked", "note"))), "{}");
    EXPECT_EQ(EndOf(*bus->GetMessaging()->SendRequest(To("asked", "fail"))), "MY_CODE");
    const auto context = Parameters::fromJSON(R"({"identity":{"identityId":"me"}})");
    for (int n = 0; n < 2; ++n) {
        EXPECT_EQ(LineOf(AnswerOf(*asking, "askTwice", context)),
                  R"(OK {"relayed":"{\"identity\":{\"identityId\":\"me\"}}"})");
    }
    ASSERT_EQ(parents.size(), 5U);
    EXPECT_TRUE(parents[0].IsEmpty() && !parents[1].IsEmpty() && !(parents[1] == parents[3]));
    EXPECT_TRUE(parents[1] == parents[2] && parents[3] == parents[4]);  // one message asked twice
}

TEST(InProcessBus, WhatIsNotThereIsToldAtOnce) {
    const auto bus = MakeBus();
    const auto attached = bus->Attach(MakeService("a.service", {{"echo", Echo}}));
    const auto messaging = bus->GetMessaging();
    const std::pair<ServiceMessageDispatch, const char*> rows[] = {
        {{"a.service", "test", 1, "echo"}, "{}"},
        {{"another", "test", 1, "echo"}, "SERVICE_NOT_FOUND"},
        {{"a.service", "global", 1, "echo"}, "SERVICE_NOT_FOUND"},
        {{"a.service", "test", 2, "echo"}, "SERVICE_NOT_FOUND"},
        {{"a.service", "test", 1, "Echo"}, "OPERATION_NOT_FOUND"},
        {{"a.service", "test", 1, ""}, "OPERATION_NOT_FOUND"},
    };
    for (const auto& [dispatch, end] : rows) {
        SCOPED_TRACE(dispatch.service + dispatch.realm + dispatch.operation);
        EXPECT_EQ(EndOf(*messaging->SendRequest(dispatch)), end);
        EXPECT_EQ(EndOf(*messaging->SendNotification(dispatch)), end);
        // A service that is not there has no instances to miss the message.
        const bool isThere = std::string(end) != "SERVICE_NOT_FOUND";
        EXPECT_EQ(EndOf(*messaging->BroadcastNotification(dispatch)), isThere ? end : "{}");
    }
    EXPECT_EQ(AnswerOf(*attached, "Echo").code, "OPERATION_NOT_FOUND");
    for (const auto& [row, named] : {std::pair(2, "\"global\""), std::pair(4, "\"Echo\"")}) {
        std::string code, text;
        messaging->SendRequest(rows[row].first)->GetErrorDetails(code, text);
        EXPECT_THAT(text, AllOf(HasSubstr("\"a.service\""), HasSubstr(named)));
    }
}

TEST(InProcessBus, InstancesTakeTurnsAndAllHearABroadcast) {
    Tally heard[3];
    const auto bus = MakeBus();
    for (Tally& tally : heard) {
        const auto hear = [&tally](const auto& request, const auto&) { return tally.Add(), request; };
        bus->Attach(MakeService("many", {{"hear", hear}}));
    }
    const auto messaging = bus->GetMessaging();
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(EndOf(*messaging->SendRequest(To("many", "hear"))), "{}");
    }
    EXPECT_TRUE(heard[0].Get() == 2 && heard[1].Get() == 2 && heard[2].Get() == 2);
    EXPECT_EQ(EndOf(*messaging->BroadcastNotification(To("many", "hear"))), "{}");
    EXPECT_TRUE(heard[0].WaitFor(3) && heard[1].WaitFor(3) && heard[2].WaitFor(3));
}

// All wait at once for what only a further handler of the same service can give.
TEST(InProcessBus, WaitingHandlersAreStoodInFor) {
    const std::pair<InProcessBusSettings, std::size_t> rows[] = {
        {{.threads = 1, .maxStandIns = 1, .maxQueuedMessages = 4096}, 1},
        {{.threads = 4, .maxStandIns = 1024, .maxQueuedMessages = 4096}, 300},
    };
    for (const auto& [settings, numWaiting] : rows) {
        SCOPED_TRACE(numWaiting);
        Tally waiting;
        auto exchange = std::make_shared<MessageExchange>();
        MessageResultsFuture released(exchange);
        const auto wait = [&](const auto& request, const auto&) {
            waiting.Add();
            EXPECT_EQ(EndOf(released), "{}");
            return request;
        };
        const auto release = [&](const auto& request, const auto&) {
            return exchange->End(MessageAnswer()), request;
        };
        const auto bus = MakeBus(settings);
        bus->Attach(MakeService("a", {{"wait", wait}, {"release", release}}));
        Futures futures;
        for (std::size_t i = 0; i < numWaiting; ++i) {
            futures.push_back(bus->GetMessaging()->SendRequest(To("a", "wait")));
        }
        EXPECT_TRUE(waiting.WaitFor(numWaiting));
        EXPECT_EQ(EndOf(*bus->GetMessaging()->SendRequest(To("a", "release"))), "{}");
        for (const auto& future : futures) {
            EXPECT_EQ(EndOf(*future), "{}");
        }
    }
}

TEST(InProcessBus, ThreadsBoundTheHandlersAtWorkAndTheQueueThoseThatWait) {
    Hold hold;
    std::atomic<int> atWork = 0;
    std::atomic<int> mostAtWork = 0;
    const auto work = [&](const auto& request, const auto&) {
        mostAtWork = std::max(mostAtWork.load(), ++atWork);
        hold.Pass();
        --atWork;
        return request;
    };
    const auto bus = MakeBus({.threads = 2, .maxStandIns = 1024, .maxQueuedMessages = 3});
    const auto attached = bus->Attach(MakeService("busy", {{"work", work}}));
    const auto messaging = bus->GetMessaging();
    Futures taken;
    for (std::size_t i = 0; i < 5; ++i) {
        taken.push_back(messaging->SendRequest(To("busy", "work")));
        ASSERT_TRUE(hold.arrived.WaitFor(std::min<std::size_t>(i + 1, 2)));
    }
    EXPECT_EQ(EndOf(*messaging->SendRequest(To("busy", "work"))), "QUEUE_FULL");
    EXPECT_EQ(EndOf(*messaging->BroadcastNotification(To("busy", "work"))), "QUEUE_FULL");
    EXPECT_EQ(LineOf(AnswerOf(*attached, "work")),
              "QUEUE_FULL: Too many messages are waiting; try again later.");
    taken.pop_back();  // an answer that nobody waits for is dropped
    hold.opened.Add();
    for (const auto& future : taken) {
        EXPECT_EQ(EndOf(*future), "{}");
    }
    EXPECT_EQ(mostAtWork, 2);
    attached->Deliver("work", {}, {}, [](MessageAnswer) { throw std::runtime_error("gone"); });
    EXPECT_EQ(EndOf(*messaging->SendRequest(To("busy", "work"))), "{}");
}

class InProcessBusStop : public ::testing::Test {
protected:
    // "a" has one thread; its "hold" waits for the test, then asks "b" and answers with how that ended.
    InProcessBusStop()
        : m_pBus(InProcessBus::Create({.threads = 1, .maxStandIns = 8, .maxQueuedMessages = 100})) {
        const auto holding = [hold = m_pHold](const Parameters& request, const ContextPointer& context) {
            hold->Pass();
            return Relay("b", "echo")(request, context);
        };
        auto service = MakeService("a", {{"hold", holding}});
        m_pHandler = service->GetMessageHandlersV2().begin()->second;
        m_pAttached = m_pBus->Attach(service);
        service->ReleaseHandlers();  // the bus alone holds them now
        m_pBus->Attach(MakeService("b", {{"echo", Echo}}));
        m_pMessaging = m_pBus->GetMessaging();
        underWay = m_pMessaging->SendRequest(To("a", "hold"));
        waiting = m_pMessaging->SendRequest(To("a", "hold"));
        EXPECT_TRUE(m_pHold->arrived.WaitFor(1));
    }

    std::string EndAt(const std::string& service, const std::string& operation) {
        return EndOf(*m_pMessaging->SendRequest(To(service, operation)));
    }
    // A message that is taken is answered later.
    bool IsStopping() {
        const auto code = std::make_shared<std::string>();
        m_pAttached->Deliver("hold", {}, {}, [code](const MessageAnswer& answer) { *code = answer.code; });
        return *code == "SERVICE_STOPPING";
    }

    const std::shared_ptr<Hold> m_pHold = std::make_shared<Hold>();
    std::shared_ptr<InProcessBus> m_pBus;
    std::weak_ptr<ServiceMessageHandlerV2> m_pHandler;
    std::shared_ptr<MessageSink> m_pAttached;
    std::shared_ptr<BusMessaging> m_pMessaging;
    std::shared_ptr<MessageResultsFuture> underWay, waiting;
};

TEST_F(InProcessBusStop, WorkUnderWayAndWaitingIsAnswered) {
    auto stopped = std::async(std::launch::async, [this] { m_pBus->Stop(kDeadline); });
    EXPECT_TRUE(Eventually([this] { return IsStopping(); }));
    EXPECT_EQ(EndAt("a", "hold"), "SERVICE_STOPPING");
    m_pHold->opened.Add();

    // What the handler asked of the other service was part of its work.
    EXPECT_EQ(EndOf(*underWay), R"({"relayed":"{}"})");
    EXPECT_EQ(EndOf(*waiting), R"({"relayed":"{}"})");
    ASSERT_EQ(stopped.wait_for(kDeadline), std::future_status::ready);
    EXPECT_TRUE(m_pHandler.expired());
    EXPECT_TRUE(IsStopping());
    EXPECT_EQ(EndAt("b", "echo"), "SERVICE_STOPPING");
    EXPECT_THROW(m_pBus->Attach(MakeService("c", {})), std::logic_error);
}

TEST_F(InProcessBusStop, OutOfPatienceTheWaitingAreToldAndTheRestIsLeftToItsThreads) {
    m_pBus->Stop(std::chrono::milliseconds(1));
    EXPECT_EQ(EndOf(*waiting), "SERVICE_STOPPING");
    EXPECT_FALSE(underWay->WaitForDone(0));
    m_pAttached.reset();
    m_pMessaging.reset();
    m_pBus.reset();

    EXPECT_FALSE(m_pHandler.expired());
    m_pHold->opened.Add();
    EXPECT_EQ(EndOf(*underWay), R"({"relayed":"SERVICE_STOPPING"})");
    EXPECT_TRUE(Eventually([this] { return m_pHandler.expired(); }));
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
