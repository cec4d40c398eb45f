// What every bus promises, over the bus of one process and that of many machines.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <stdexcept>
#include <vector>

#include "base/concurrency/HeldOutput.h"
#include "platform/messaging/HandlerErrors.h"
#include "platform/messaging/inprocess/InProcessBus.h"
#include "platform/messaging/nats/NatsBus.h"
#include "tests/bus/BusStories.h"
#include "tests/bus/NatsServer.h"

namespace PlatformAbstraction::Messaging {
namespace {

using CoreServices::Parameters;
using testing::AllOf;
using testing::HasSubstr;
using namespace TestSupport;  // NOLINT(google-build-using-namespace)
using Futures = std::vector<std::shared_ptr<MessageResultsFuture>>;

enum class Kind { InProcess, Nats };

class Bus : public ::testing::TestWithParam<Kind> {
protected:
    void SetUp() override {
        if (IsOnNats()) {
            m_server.emplace();
            QUILLON_NEEDS_NATS(*m_server);
        }
        Begin();
    }
    virtual void Begin() {}

    static bool IsOnNats() { return GetParam() == Kind::Nats; }
    std::shared_ptr<MessageBus> NewBus(const InProcessBusSettings& settings) const {
        if (!IsOnNats()) {
            return InProcessBus::Create(settings);
        }
        NatsSettings nats;
        nats.servers = {m_server->Url()};
        nats.largestBody = 1000;
        nats.services = settings;
        return NatsBus::Create(nats);
    }
    /// Its handlers may use what is declared before it: letting it go waits for those at work.
    std::shared_ptr<MessageBus> MakeBus(const InProcessBusSettings& settings = {}) const {
        auto bus = NewBus(settings);
        auto* const shown = bus.get();
        return {shown, [bus = std::move(bus)](auto*) { bus->Stop(kDeadline); }};
    }

private:
    std::optional<NatsServer> m_server;
};

std::string NameOf(const ::testing::TestParamInfo<Kind>& info) {
    return info.param == Kind::Nats ? "Nats" : "InProcess";
}

INSTANTIATE_TEST_SUITE_P(All, Bus, ::testing::Values(Kind::InProcess, Kind::Nats), NameOf);

TEST_P(Bus, RequestsAreAnsweredAndTellOnWhoseBehalf) {
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

TEST_P(Bus, WhatIsNotThereIsToldAtOnce) {
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
        // A service that is not there has no instances to miss the message, and where instances are on other
        // machines they alone know.
        const bool isThere = std::string(end) != "SERVICE_NOT_FOUND" && !IsOnNats();
        EXPECT_EQ(EndOf(*messaging->BroadcastNotification(dispatch)), isThere ? end : "{}");
    }
    EXPECT_EQ(AnswerOf(*attached, "Echo").code, "OPERATION_NOT_FOUND");
    for (const auto& [row, named] : {std::pair(2, "\"global\""), std::pair(4, "\"Echo\"")}) {
        std::string code, text;
        const auto future = messaging->SendRequest(rows[row].first);
        EXPECT_TRUE(future->WaitForDone(kDeadlineMicroseconds) && future->GetErrorDetails(code, text));
        EXPECT_THAT(text, AllOf(HasSubstr("\"a.service\""), HasSubstr(named)));
    }
}

TEST_P(Bus, InstancesShareTheRequestsAndAllHearABroadcast) {
    Tally heard[3];
    const auto bus = MakeBus();
    for (Tally& tally : heard) {
        const auto hear = [&tally](const auto& request, const auto&) { return tally.Add(), request; };
        bus->Attach(MakeService("many", {{"hear", hear}}));
    }
    const auto messaging = bus->GetMessaging();
    const std::size_t turns =
        IsOnNats() ? 100 : 2;  // there at random: with 300 none is left out but by a fault
    for (std::size_t i = 0; i < 3 * turns; ++i) {
        EXPECT_EQ(EndOf(*messaging->SendRequest(To("many", "hear"))), "{}");
    }
    const std::size_t before[] = {heard[0].Get(), heard[1].Get(), heard[2].Get()};
    EXPECT_EQ(before[0] + before[1] + before[2], 3 * turns);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(IsOnNats() ? before[i] > 0 : before[i] == turns);
    }
    EXPECT_EQ(EndOf(*messaging->BroadcastNotification(To("many", "hear"))), "{}");
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(heard[i].WaitFor(before[i] + 1));
    }
}

// All wait at once for what only a further handler of the same service can give.
TEST_P(Bus, WaitingHandlersAreStoodInFor) {
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

TEST_P(Bus, ThreadsBoundTheHandlersAtWorkAndTheQueueThoseThatWait) {
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
    // What was sent after the last of them has arrived after it.
    EXPECT_EQ(EndOf(*messaging->SendRequest(To("busy", "nothing"))), "OPERATION_NOT_FOUND");
    EXPECT_EQ(EndOf(*messaging->SendRequest(To("busy", "work"))), "QUEUE_FULL");
    EXPECT_EQ(EndOf(*messaging->SendNotification(To("busy", "work"))), "QUEUE_FULL");
    EXPECT_EQ(EndOf(*messaging->BroadcastNotification(To("busy", "work"))), IsOnNats() ? "{}" : "QUEUE_FULL");
    EXPECT_EQ(LineOf(AnswerOf(*attached, "work")),
              "QUEUE_FULL: Too many messages are waiting; try again later.");
    taken.pop_back();  // an answer that nobody waits for is dropped
    hold.opened.Add();
    for (const auto& future : taken) {
        EXPECT_EQ(EndOf(*future), "{}");
    }
    EXPECT_EQ(mostAtWork, 2);
    struct Gone final : AnswerReceiver {
        void Prepare(MessageAnswer) override { throw std::runtime_error("gone"); }
        void Send() override { throw std::runtime_error("gone"); }
    };
    attached->Deliver("work", {}, {}, std::make_unique<Gone>());
    EXPECT_EQ(EndOf(*messaging->SendRequest(To("busy", "work"))), "{}");
}

/// A service whose handler writes as its request says and then answers; the writes end when the test says so.
class BusHeldAnswers : public Bus {
protected:
    std::shared_ptr<MessageResultsFuture> Send(const std::string& request = "{}") {
        auto future = m_pBus->GetMessaging()->SendRequest(To("a", "write", Parameters::fromJSON(request)));
        EXPECT_TRUE(m_through.WaitFor(++m_numSent));
        return future;
    }

    Parameters Write(const Parameters& request, const ContextPointer& context) {
        Parameters answer;
        {
            const HeldOutput::Tail tail("not stored");
            for (std::size_t n = request.HasParameter("twice") ? 2 : 1; n > 0; --n) {
                HeldOutput::OfTail()->Begin();
                writes.push_back(HeldOutput::OfTail());
            }
        }
        m_through.Add();
        if (request.HasParameter("fails")) {
            throw MessageHandlerError("MINE", "mine");
        }
        if (request.HasParameter("asks")) {
            answer = Relay("b", "echo")({}, context);
        }
        return answer;
    }

    std::vector<HeldOutput*> writes;  // the handler's thread writes, and the test then reads
    Tally m_through;
    std::size_t m_numSent = 0;
    Tally m_asked;
    std::shared_ptr<MessageBus> m_pBus;

    void Begin() override {
        m_pBus = MakeBus({.threads = 1, .maxStandIns = 8, .maxQueuedMessages = 3});
        m_pBus->Attach(MakeService("a", {{"write", [this](const auto& request, const auto& context) {
                                              return Write(request, context);
                                          }}}));
        m_pBus->Attach(MakeService(
            "b", {{"echo", [this](const auto& request, const auto&) { return m_asked.Add(), request; }}}));
    }
};

INSTANTIATE_TEST_SUITE_P(All, BusHeldAnswers, ::testing::Values(Kind::InProcess, Kind::Nats), NameOf);

TEST_P(BusHeldAnswers, GoOutWhenTheLastWriteHasEndedAndSayHowItWent) {
    const struct {
        const char* request;
        std::vector<bool> outcomes;
        const char* end;
    } rows[] = {{"{}", {true}, "{}"},
                {"{}", {false}, "GENERIC_SERVICE_ERROR"},
                {R"({"twice":1})", {true, true}, "{}"},
                {R"({"twice":1})", {true, false}, "GENERIC_SERVICE_ERROR"},
                {R"({"fails":1})", {true}, "MINE"},
                {R"({"fails":1})", {false}, "GENERIC_SERVICE_ERROR"}};
    for (const auto& [request, outcomes, end] : rows) {
        SCOPED_TRACE(std::string(request) + end);
        writes.clear();
        const auto future = Send(request);
        ASSERT_EQ(writes.size(), outcomes.size());
        for (std::size_t n = 0; n < outcomes.size(); ++n) {
            EXPECT_FALSE(future->WaitForDone(1000));
            writes[n]->End(outcomes[n]);
        }
        EXPECT_EQ(EndOf(*future), end);
        std::string code, text;
        EXPECT_EQ(future->GetErrorDetails(code, text) && text == "not stored", !outcomes.back());
    }
}

TEST_P(BusHeldAnswers, NothingThatOthersSeeOvertakesAWrite) {
    for (const bool isStored : {true, false}) {
        writes.clear();
        const auto future = Send(R"({"asks":1})");
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(m_asked.Get(), isStored ? 0U : 1U);
        writes[0]->End(isStored);
        EXPECT_EQ(EndOf(*future), isStored ? R"({"relayed":"{}"})" : "GENERIC_SERVICE_ERROR");
        EXPECT_EQ(m_asked.Get(), 1U);
    }
}

TEST_P(BusHeldAnswers, CountAsTakenAndAStopWaitsForThem) {
    Futures futures{Send(), Send(), Send()};
    EXPECT_EQ(EndOf(*m_pBus->GetMessaging()->SendRequest(To("a", "write"))), "QUEUE_FULL");
    writes[1]->End(true);
    EXPECT_EQ(EndOf(*futures[1]), "{}");
    auto stopped = std::async(std::launch::async, [this] { m_pBus->Stop(kDeadline); });
    EXPECT_EQ(stopped.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    writes[0]->End(true);
    writes[2]->End(true);
    EXPECT_EQ(EndOf(*futures[0]) + EndOf(*futures[2]), "{}{}");
    EXPECT_EQ(stopped.wait_for(kDeadline), std::future_status::ready);
}

TEST_P(BusHeldAnswers, OutOfPatienceTheyAreTold) {
    const auto future = Send();
    m_pBus->Stop(std::chrono::milliseconds(1));
    EXPECT_EQ(EndOf(*future), "SERVICE_STOPPING");
    writes[0]->End(true);  // and its answer goes nowhere
}

class BusStop : public Bus {
protected:
    // "a" has one thread; its "hold" waits for the test, then asks "b" and answers with how that ended.
    void Begin() override {
        m_pBus = NewBus({.threads = 1, .maxStandIns = 8, .maxQueuedMessages = 100});
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
        auto receiver = std::make_unique<PromisedAnswer>();
        auto answer = receiver->promise.get_future();
        m_pAttached->Deliver("hold", {}, {}, std::move(receiver));
        return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready &&
               answer.get().code == "SERVICE_STOPPING";
    }

    const std::shared_ptr<Hold> m_pHold = std::make_shared<Hold>();
    std::shared_ptr<MessageBus> m_pBus;
    std::weak_ptr<ServiceMessageHandlerV2> m_pHandler;
    std::shared_ptr<MessageSink> m_pAttached;
    std::shared_ptr<BusMessaging> m_pMessaging;
    std::shared_ptr<MessageResultsFuture> underWay, waiting;
};

INSTANTIATE_TEST_SUITE_P(All, BusStop, ::testing::Values(Kind::InProcess, Kind::Nats), NameOf);

TEST_P(BusStop, WorkUnderWayAndWaitingIsAnswered) {
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

TEST_P(BusStop, OneInstanceLeavesAndTheOthersGoOn) {
    Tally heard;
    const auto hear = [&heard](const auto& request, const auto&) { return heard.Add(), request; };
    const auto leaving = m_pBus->Attach(MakeService("c", {{"hear", hear}}));
    m_pBus->Attach(MakeService("c", {{"hear", hear}}));
    m_pBus->Detach(leaving, kDeadline);
    EXPECT_EQ(EndOf(*m_pMessaging->BroadcastNotification(To("c", "hear"))), "{}");

    auto detached = std::async(std::launch::async, [this] { m_pBus->Detach(m_pAttached, kDeadline); });
    EXPECT_TRUE(Eventually([this] { return IsStopping(); }));
    EXPECT_EQ(EndAt("a", "hold"), "SERVICE_NOT_FOUND");
    m_pHold->opened.Add();
    EXPECT_EQ(EndOf(*underWay) + EndOf(*waiting), R"({"relayed":"{}"}{"relayed":"{}"})");
    ASSERT_EQ(detached.wait_for(kDeadline), std::future_status::ready);
    EXPECT_TRUE(m_pHandler.expired());
    m_pBus->Detach(m_pAttached, kDeadline);
    m_pBus->Attach(MakeService("a", {{"hold", Echo}}));
    EXPECT_EQ(EndAt("a", "hold"), "{}");
    m_pBus->Stop(kDeadline);
    EXPECT_EQ(heard.Get(), 1U);
}

TEST_P(BusStop, OutOfPatienceTheWaitingAreToldAndTheRestIsLeftToItsThreads) {
    m_pBus->Stop(std::chrono::milliseconds(1));
    EXPECT_EQ(EndOf(*waiting), "SERVICE_STOPPING");
    // There an answer is no more to be had once the bus has stopped.
    EXPECT_EQ(underWay->WaitForDone(0), IsOnNats());
    m_pAttached.reset();
    m_pMessaging.reset();
    m_pBus.reset();

    EXPECT_FALSE(m_pHandler.expired());
    m_pHold->opened.Add();
    EXPECT_EQ(EndOf(*underWay), IsOnNats() ? "SERVICE_STOPPING" : R"({"relayed":"SERVICE_STOPPING"})");
    EXPECT_TRUE(Eventually([this] { return m_pHandler.expired(); }));
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
