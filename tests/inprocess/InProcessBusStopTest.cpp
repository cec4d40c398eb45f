#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <stdexcept>
#include <thread>

#include "BusStories.h"
#include "InProcessBus.h"

namespace PlatformAbstraction::Messaging {
namespace {

using CoreServices::Parameters;
using TestSupport::ContextPointer;
using TestSupport::EndOf;
using TestSupport::Hold;
using TestSupport::kDeadline;
using TestSupport::MakeService;
using TestSupport::To;

bool WaitUntil(const std::function<bool()>& isSo) {
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (!isSo() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return isSo();
}

class InProcessBusStop : public ::testing::Test {
protected:
    // "a" has one thread; its "hold" passes through `m_hold`, then asks "b" and answers with how that ended.
    InProcessBusStop()
        : m_pBus(InProcessBus::Create({.threads = 1, .maxStandIns = 8, .maxQueuedMessages = 100})) {
        const auto hold = m_pHold;
        auto service =
            MakeService("a", {{"hold", [hold](const Parameters&, const ContextPointer& context) {
                                   hold->Pass();
                                   Parameters answer;
                                   const auto messaging = context->GetContextBusMessaging();
                                   answer.SetParameter("b", EndOf(*messaging->SendRequest(To("b", "echo"))));
                                   return answer;
                               }}});
        m_pHandler = service->GetMessageHandlersV2().begin()->second;
        m_pAttached = m_pBus->Attach(service);
        service->ReleaseHandlers();  // the bus alone holds them now
        m_pBus->Attach(MakeService(
            "b", {{"echo", [](const Parameters& request, const ContextPointer&) { return request; }}}));
        m_pMessaging = m_pBus->GetMessaging();
    }

    MessageSink::Acceptance Deliver() {
        return m_pAttached->Deliver("hold", {}, {}, [](const MessageAnswer&) {});
    }

    const std::shared_ptr<Hold> m_pHold = std::make_shared<Hold>();
    std::shared_ptr<InProcessBus> m_pBus;
    std::weak_ptr<ServiceMessageHandlerV2> m_pHandler;
    std::shared_ptr<AttachedService> m_pAttached;
    std::shared_ptr<BusMessaging> m_pMessaging;
};

TEST_F(InProcessBusStop, WorkUnderWayAndWaitingIsAnswered) {
    const auto underWay = m_pMessaging->SendRequest(To("a", "hold"));
    const auto waiting = m_pMessaging->SendRequest(To("a", "hold"));
    ASSERT_TRUE(m_pHold->arrived.WaitFor(1));
    auto stopped = std::async(std::launch::async, [this] { m_pBus->Stop(kDeadline); });
    EXPECT_TRUE(WaitUntil([this] { return Deliver() == MessageSink::Acceptance::Stopping; }));
    EXPECT_EQ(EndOf(*m_pMessaging->SendRequest(To("a", "hold"))), "SERVICE_STOPPING");
    EXPECT_EQ(EndOf(*m_pMessaging->SendNotification(To("a", "hold"))), "SERVICE_STOPPING");
    m_pHold->opened.Add();

    // What the handler asked of the other service was part of its work.
    EXPECT_EQ(EndOf(*underWay), R"({"b":"{}"})");
    EXPECT_EQ(EndOf(*waiting), R"({"b":"{}"})");
    ASSERT_EQ(stopped.wait_for(kDeadline), std::future_status::ready);
    EXPECT_TRUE(m_pHandler.expired());
    EXPECT_EQ(Deliver(), MessageSink::Acceptance::Stopping);
    EXPECT_EQ(EndOf(*m_pMessaging->SendRequest(To("b", "echo"))), "SERVICE_STOPPING");
    EXPECT_EQ(EndOf(*m_pMessaging->SendRequest(To("b", "other"))), "OPERATION_NOT_FOUND");
    EXPECT_THROW(m_pBus->Attach(MakeService("c", {})), std::logic_error);
}

TEST_F(InProcessBusStop, OutOfPatienceTheWaitingAreToldAndTheRestIsLeftToItsThreads) {
    const auto underWay = m_pMessaging->SendRequest(To("a", "hold"));
    const auto waiting = m_pMessaging->SendRequest(To("a", "hold"));
    ASSERT_TRUE(m_pHold->arrived.WaitFor(1));
    m_pBus->Stop(std::chrono::milliseconds(1));
    EXPECT_EQ(EndOf(*waiting), "SERVICE_STOPPING");
    EXPECT_FALSE(underWay->WaitForDone(0));
    m_pAttached.reset();
    m_pMessaging.reset();
    m_pBus.reset();

    EXPECT_FALSE(m_pHandler.expired());
    m_pHold->opened.Add();
    EXPECT_EQ(EndOf(*underWay), R"({"b":"SERVICE_STOPPING"})");
    EXPECT_TRUE(WaitUntil([this] { return m_pHandler.expired(); }));
}

TEST_F(InProcessBusStop, LettingTheBusGoStopsIt) {
    EXPECT_NE(EndOf(*m_pMessaging->SendRequest(To("b", "echo"))), "SERVICE_STOPPING");
    m_pBus.reset();
    EXPECT_TRUE(m_pHandler.expired());
    EXPECT_EQ(EndOf(*m_pMessaging->SendRequest(To("b", "echo"))), "SERVICE_STOPPING");
    EXPECT_EQ(Deliver(), MessageSink::Acceptance::Stopping);
}

TEST(InProcessBus, RefusesWhatCannotWork) {
    EXPECT_THROW(InProcessBus::Create({.threads = 0, .maxStandIns = 1, .maxQueuedMessages = 1}),
                 std::invalid_argument);
    EXPECT_THROW(InProcessBus::Create({.threads = 1, .maxStandIns = 1, .maxQueuedMessages = 0}),
                 std::invalid_argument);
    const auto bus = InProcessBus::Create();
    EXPECT_THROW(bus->Attach(nullptr), std::invalid_argument);
    EXPECT_THROW(bus->Attach(std::make_shared<ServiceInfo>()), std::invalid_argument);
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
