#include "InProcessBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

#include "BusStories.h"
#include "HandlerErrors.h"

namespace PlatformAbstraction::Messaging {
namespace {

using CoreServices::Parameters;
using TestSupport::ContextPointer;
using TestSupport::EndOf;
using TestSupport::Hold;
using TestSupport::MakeBus;
using TestSupport::MakeService;
using TestSupport::Tally;
using TestSupport::To;

Parameters Echo(const Parameters& request, const ContextPointer& /*context*/) {
    return request;
}

TEST(InProcessBus, RequestsAreAnsweredAndTheCallersContextTravels) {
    const auto bus = MakeBus();
    bus->Attach(MakeService(
        "asked", {{"whoAsks", [](const Parameters&,
                                 const ContextPointer& context) { return context->GetContextParameters(); }},
                  {"fail", [](const Parameters&, const ContextPointer&) -> Parameters {
                       throw MessageHandlerError("MY_CODE", "mine");
                   }}}));
    const auto asking = bus->Attach(MakeService(
        "asking", {{"passOn", [](const Parameters&, const ContextPointer& context) {
                        auto messaging = context->GetContextBusMessaging();
                        Parameters answer;
                        answer.SetParameter("asked", EndOf(*messaging->SendRequest(To("asked", "whoAsks"))));
                        return answer;
                    }}}));
    const Parameters caller = Parameters::fromJSON(R"({"identity":{"identityId":"me"}})");
    std::promise<MessageAnswer> answered;
    EXPECT_EQ(asking->Deliver("passOn", {}, caller,
                              [&](MessageAnswer answer) { answered.set_value(std::move(answer)); }),
              MessageSink::Acceptance::Accepted);
    auto answer = answered.get_future();
    ASSERT_EQ(answer.wait_for(TestSupport::kDeadline), std::future_status::ready);
    std::string asked;
    EXPECT_TRUE(answer.get().results.GetParameter("asked", asked));
    EXPECT_EQ(asked, caller.toJSON());

    EXPECT_EQ(EndOf(*asking->GetMessaging()->SendRequest(To("asked", "whoAsks"))), "{}");
    EXPECT_EQ(EndOf(*bus->GetMessaging()->SendRequest(To("asked", "fail"))), "MY_CODE");
}

struct AddressRow {
    const char* name;
    ServiceMessageDispatch dispatch;
    const char* end;           // of a request or a notification
    const char* broadcastEnd;  // a service that is not there has no instances to miss the message
};

TEST(InProcessBus, WhatIsNotThereIsToldAtOnce) {
    const auto bus = MakeBus();
    const auto attached = bus->Attach(MakeService("a.service", {{"echo", Echo}}));
    const AddressRow rows[] = {
        {"there", {"a.service", "test", 1, "echo"}, "{}", "{}"},
        {"service", {"another", "test", 1, "echo"}, "SERVICE_NOT_FOUND", "{}"},
        {"letter case", {"A.service", "test", 1, "echo"}, "SERVICE_NOT_FOUND", "{}"},
        {"realm", {"a.service", "global", 1, "echo"}, "SERVICE_NOT_FOUND", "{}"},
        {"version", {"a.service", "test", 2, "echo"}, "SERVICE_NOT_FOUND", "{}"},
        {"operation", {"a.service", "test", 1, "Echo"}, "OPERATION_NOT_FOUND", "OPERATION_NOT_FOUND"},
        {"no operation", {"a.service", "test", 1, ""}, "OPERATION_NOT_FOUND", "OPERATION_NOT_FOUND"},
    };
    const auto messaging = bus->GetMessaging();
    for (const AddressRow& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(EndOf(*messaging->SendRequest(row.dispatch)), row.end);
        EXPECT_EQ(EndOf(*messaging->SendNotification(row.dispatch)), row.end);
        EXPECT_EQ(EndOf(*messaging->BroadcastNotification(row.dispatch)), row.broadcastEnd);
    }
    EXPECT_EQ(attached->Deliver("Echo", {}, {}, nullptr), MessageSink::Acceptance::NotFound);
    std::string code;
    std::string text;
    messaging->SendRequest(rows[3].dispatch)->GetErrorDetails(code, text);
    EXPECT_THAT(text,
                ::testing::AllOf(::testing::HasSubstr("\"a.service\""), ::testing::HasSubstr("\"global\"")));
    messaging->SendRequest(rows[5].dispatch)->GetErrorDetails(code, text);
    EXPECT_THAT(text,
                ::testing::AllOf(::testing::HasSubstr("\"a.service\""), ::testing::HasSubstr("\"Echo\"")));
}

TEST(InProcessBus, InstancesTakeTurnsAndAllHearABroadcast) {
    Tally heard[3];
    const auto bus = MakeBus();
    for (Tally& tally : heard) {
        bus->Attach(MakeService("many", {{"hear", [&tally](const Parameters& request, const ContextPointer&) {
                                              tally.Add();
                                              return request;
                                          }}}));
    }
    const auto messaging = bus->GetMessaging();
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(EndOf(*messaging->SendRequest(To("many", "hear"))), "{}");
    }
    for (Tally& tally : heard) {
        EXPECT_EQ(tally.Get(), 2U);
    }
    EXPECT_EQ(EndOf(*messaging->BroadcastNotification(To("many", "hear"))), "{}");
    for (Tally& tally : heard) {
        EXPECT_TRUE(tally.WaitFor(3));
    }
}

struct WaitingRow {
    const char* name;
    InProcessBusSettings settings;
    std::size_t numWaiting;
};

// All wait at once for what only a further handler of the same service can give.
TEST(InProcessBus, WaitingHandlersAreStoodInFor) {
    const WaitingRow rows[] = {
        {"one thread", {.threads = 1, .maxStandIns = 1, .maxQueuedMessages = 4096}, 1},
        {"as many as may be stood in for", {.threads = 1, .maxStandIns = 7, .maxQueuedMessages = 4096}, 7},
        {"many more than threads", {.threads = 4, .maxStandIns = 1024, .maxQueuedMessages = 4096}, 300},
    };
    for (const WaitingRow& row : rows) {
        SCOPED_TRACE(row.name);
        Tally waiting;
        auto exchange = std::make_shared<MessageExchange>();
        const auto released = std::make_shared<MessageResultsFuture>(exchange);
        const auto bus = MakeBus(row.settings);
        bus->Attach(MakeService("a", {{"wait",
                                       [&](const Parameters& request, const ContextPointer&) {
                                           waiting.Add();
                                           EXPECT_EQ(EndOf(*released), "{}");
                                           return request;
                                       }},
                                      {"release", [&](const Parameters& request, const ContextPointer&) {
                                           exchange->End(MessageAnswer());
                                           return request;
                                       }}}));
        std::vector<std::shared_ptr<MessageResultsFuture>> futures;
        for (std::size_t i = 0; i < row.numWaiting; ++i) {
            futures.push_back(bus->GetMessaging()->SendRequest(To("a", "wait")));
        }
        EXPECT_TRUE(waiting.WaitFor(row.numWaiting));
        EXPECT_EQ(EndOf(*bus->GetMessaging()->SendRequest(To("a", "release"))), "{}");
        for (const auto& future : futures) {
            EXPECT_EQ(EndOf(*future), "{}");
        }
    }
}

TEST(InProcessBus, AHandlerMayAskItsOwnServiceDeeply) {
    const auto bus = MakeBus({.threads = 1, .maxStandIns = 1024, .maxQueuedMessages = 1});
    bus->Attach(MakeService(
        "deep", {{"down", [](const Parameters& request, const ContextPointer& context) {
                      std::int32_t depth = 0;
                      request.GetParameter("depth", depth);
                      Parameters answer;
                      if (depth > 0) {
                          answer.SetParameter("depth", depth - 1);
                          const auto below =
                              context->GetContextBusMessaging()->SendRequest(To("deep", "down", answer));
                          EXPECT_TRUE(below->WaitForDone(TestSupport::kDeadlineMicroseconds));
                          EXPECT_TRUE(below->GetResults(answer));
                      }
                      return depth == 0 ? Parameters::fromJSON(R"({"bottom":true})") : answer;
                  }}}));
    EXPECT_EQ(EndOf(*bus->GetMessaging()->SendRequest(
                  To("deep", "down", Parameters::fromJSON(R"({"depth":200})")))),
              R"({"bottom":true})");
}

TEST(InProcessBus, ThreadsBoundTheHandlersAtWorkAndTheQueueThoseThatWait) {
    Hold hold;
    std::atomic<int> atWork = 0;
    std::atomic<int> mostAtWork = 0;
    const auto bus = MakeBus({.threads = 2, .maxStandIns = 1024, .maxQueuedMessages = 3});
    const auto attached =
        bus->Attach(MakeService("busy", {{"work", [&](const Parameters& request, const ContextPointer&) {
                                              const int now = ++atWork;
                                              mostAtWork = std::max(mostAtWork.load(), now);
                                              hold.Pass();
                                              --atWork;
                                              return request;
                                          }}}));
    const auto messaging = attached->GetMessaging();
    std::vector<std::shared_ptr<MessageResultsFuture>> taken;
    for (std::size_t i = 0; i < 2; ++i) {
        taken.push_back(messaging->SendRequest(To("busy", "work")));
        ASSERT_TRUE(hold.arrived.WaitFor(i + 1));
    }
    for (int i = 0; i < 3; ++i) {
        taken.push_back(messaging->SendRequest(To("busy", "work")));
    }
    EXPECT_EQ(EndOf(*messaging->SendRequest(To("busy", "work"))), "QUEUE_FULL");
    EXPECT_EQ(EndOf(*messaging->SendNotification(To("busy", "work"))), "QUEUE_FULL");
    EXPECT_EQ(EndOf(*messaging->BroadcastNotification(To("busy", "work"))), "QUEUE_FULL");
    EXPECT_EQ(attached->Deliver("work", {}, {}, nullptr), MessageSink::Acceptance::QueueFull);
    hold.opened.Add();
    for (const auto& future : taken) {
        EXPECT_EQ(EndOf(*future), "{}");
    }
    EXPECT_EQ(mostAtWork, 2);
    EXPECT_EQ(EndOf(*messaging->SendRequest(To("busy", "work"))), "{}");
}

TEST(InProcessBus, AnAnswerThatNobodyWaitsForIsDropped) {
    Hold hold;
    const auto bus = MakeBus();
    const auto attached =
        bus->Attach(MakeService("late", {{"work",
                                          [&](const Parameters& request, const ContextPointer&) {
                                              hold.Pass();
                                              return request;
                                          }},
                                         {"echo", Echo}}));
    bus->GetMessaging()->SendRequest(To("late", "work"))->WaitForDone(1);
    attached->Deliver("work", {}, {}, [](MessageAnswer) { throw std::runtime_error("gone"); });
    ASSERT_TRUE(hold.arrived.WaitFor(2));
    hold.opened.Add();
    EXPECT_EQ(EndOf(*bus->GetMessaging()->SendRequest(To("late", "echo"))), "{}");
}

TEST(InProcessBus, ManySendersAndServicesAtOnce) {
    const auto bus = MakeBus({.threads = 4, .maxStandIns = 64, .maxQueuedMessages = 4096});
    bus->Attach(MakeService("back", {{"echo", Echo}}));
    bus->Attach(MakeService("front", {{"relay", [](const Parameters& request, const ContextPointer& context) {
                                           Parameters answer;
                                           answer.SetParameter(
                                               "back", EndOf(*context->GetContextBusMessaging()->SendRequest(
                                                           To("back", "echo", request))));
                                           return answer;
                                       }}}));
    std::atomic<int> numRight = 0;
    std::vector<std::thread> senders;
    for (int sender = 0; sender < 4; ++sender) {
        senders.emplace_back([&bus, &numRight] {
            const auto messaging = bus->GetMessaging();
            for (int i = 0; i < 250; ++i) {
                const auto one = messaging->SendRequest(To("front", "relay"));
                const auto other = messaging->SendRequest(To("back", "echo"));
                numRight += EndOf(*one) == R"({"back":"{}"})" && EndOf(*other) == "{}" ? 1 : 0;
            }
        });
    }
    for (std::thread& sender : senders) {
        sender.join();
    }
    EXPECT_EQ(numRight, 1000);
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
