#include "platform/messaging/BusMessaging.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/concurrency/BlockingRegion.h"

namespace PlatformAbstraction::Messaging {
namespace {

using CoreServices::Parameters;

constexpr std::int64_t kForever = std::numeric_limits<std::int64_t>::max();

TEST(MessageResultsFuture, TheFirstEndCountsAndOutlivesWhoeverCarriedTheMessage) {
    auto exchange = std::make_shared<MessageExchange>();
    MessageResultsFuture future(exchange);
    std::string code, message;
    Parameters results;
    EXPECT_FALSE(future.HasError() || future.HasTimedOut() || future.GetErrorDetails(code, message) ||
                 future.GetResults(results));
    EXPECT_TRUE(exchange->End(MessageAnswer::OfText("[ 1 ]")));
    EXPECT_FALSE(exchange->End(MessageAnswer::OfError("C", "m")) || exchange->EndWithErrorWithoutDetails() ||
                 exchange->TimeOut());
    exchange.reset();
    EXPECT_TRUE(future.WaitForDone(kForever) && future.GetResults(results));
    EXPECT_EQ(results.toJSON(), "[1]");
    EXPECT_FALSE(future.HasError() || future.HasTimedOut() || future.GetErrorDetails(code, message));
}

struct CountingObserver final : BlockingObserver {
    void EnterBlocking() noexcept override { ++entered; }
    void LeaveBlocking() noexcept override { ++left; }
    int entered = 0;
    int left = 0;
};

TEST(MessageResultsFuture, OnlyARealWaitIsABlockingRegion) {
    auto exchange = std::make_shared<MessageExchange>();
    MessageResultsFuture future(exchange);
    CountingObserver observer;
    ObserveBlocking(&observer);
    EXPECT_FALSE(future.WaitForDone(0) || future.WaitForDone(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(observer.entered, 0);
    EXPECT_FALSE(future.WaitForDone(1));
    exchange->End(MessageAnswer());
    EXPECT_TRUE(future.WaitForDone(kForever));
    ObserveBlocking(nullptr);
    EXPECT_EQ(observer.entered, 1);
    EXPECT_EQ(observer.left, 1);
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
