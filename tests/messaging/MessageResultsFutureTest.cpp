#include "platform/messaging/BusMessaging.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "base/concurrency/BlockingRegion.h"

namespace PlatformAbstraction::Messaging {
namespace {

using CoreServices::Parameters;

constexpr std::int64_t kForever = std::numeric_limits<std::int64_t>::max();

/// All that a future tells once the exchange is over.
std::string Told(MessageResultsFuture& future) {
    std::string code = "no code";
    std::string message;
    Parameters results = Parameters::fromJSON(R"({"before":1})");
    const bool hasDetails = future.GetErrorDetails(code, message);
    const bool hasResults = future.GetResults(results);
    EXPECT_EQ(hasDetails, code != "no code");
    EXPECT_EQ(hasResults, !results.HasParameter("before"));
    return std::string(future.WaitForDone(0) ? "done, " : "under way, ") +
           (future.HasTimedOut() ? "given up, " : "") + (future.HasError() ? "error, " : "") + code +
           message + ", " + results.toJSON();
}

TEST(MessageResultsFuture, EveryEndReadsAsItselfAndTheFirstCounts) {
    const std::pair<std::function<bool(MessageExchange&)>, const char*> rows[] = {
        {[](auto& exchange) { return exchange.End(MessageAnswer::OfText("[ 1 ]")); }, "done, no code, [1]"},
        {[](auto& exchange) { return exchange.End(MessageAnswer::OfResults(Parameters::fromJSON("[2]"))); },
         "done, no code, [2]"},
        {[](auto& exchange) { return exchange.End(MessageAnswer::OfText("{")); },
         R"(done, no code, {"before":1})"},
        {[](auto& exchange) { return exchange.End(MessageAnswer::OfError("C", "m")); },
         R"(done, error, Cm, {"before":1})"},
        {[](auto& exchange) { return exchange.EndWithErrorWithoutDetails(); },
         R"(done, error, no code, {"before":1})"},
        {[](auto& exchange) { return exchange.TimeOut(); },
         R"(done, given up, error, no code, {"before":1})"},
    };
    for (const auto& [end, told] : rows) {
        auto exchange = std::make_shared<MessageExchange>();
        MessageResultsFuture future(exchange);
        EXPECT_EQ(Told(future), R"(under way, no code, {"before":1})");
        EXPECT_TRUE(end(*exchange));
        for (const auto& late : rows) {
            EXPECT_FALSE(late.first(*exchange));
        }
        exchange.reset();  // the future outlives whoever carried the message
        EXPECT_TRUE(future.WaitForDone(kForever));
        EXPECT_EQ(Told(future), told);
    }
}

class CountingObserver final : public BlockingObserver {
public:
    void EnterBlocking(Wait /*wait*/) noexcept override { ++entered; }
    void LeaveBlocking(Wait /*wait*/) noexcept override { ++left; }
    int entered = 0;
    int left = 0;
};

TEST(MessageResultsFuture, OnlyARealWaitIsABlockingRegion) {
    auto exchange = std::make_shared<MessageExchange>();
    MessageResultsFuture future(exchange);
    CountingObserver observer;
    ObserveBlocking(&observer);
    EXPECT_FALSE(future.WaitForDone(0));
    EXPECT_FALSE(future.WaitForDone(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(observer.entered, 0);
    EXPECT_FALSE(future.WaitForDone(1));
    EXPECT_EQ(observer.entered, 1);
    EXPECT_EQ(observer.left, 1);
    exchange->End(MessageAnswer());
    EXPECT_TRUE(future.WaitForDone(kForever));
    EXPECT_EQ(observer.entered, 1);
    ObserveBlocking(nullptr);
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
