#include "MessageResultsFuture.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <thread>

#include "BlockingRegion.h"

namespace PlatformAbstraction::Messaging {
namespace {

using CoreServices::Parameters;

constexpr std::int64_t kForever = std::numeric_limits<std::int64_t>::max();

struct EndRow {
    const char* name;
    std::function<void(MessageExchange&)> end;
    bool isDone;
    bool hasTimedOut;
    bool hasError;
    const char* errorDetails;  // null for none
    const char* results;       // null for none
};

const EndRow kEndRows[] = {
    {"under way", [](auto&) {}, false, false, false, nullptr, nullptr},
    {"results",
     [](auto& exchange) { exchange.End(MessageAnswer::OfResults(Parameters::fromJSON(R"({"a":1})"))); }, true,
     false, false, nullptr, R"({"a":1})"},
    {"text", [](auto& exchange) { exchange.End(MessageAnswer::OfText("[ 1 ]")); }, true, false, false,
     nullptr, "[1]"},
    {"text that is no JSON", [](auto& exchange) { exchange.End(MessageAnswer::OfText("{")); }, true, false,
     false, nullptr, nullptr},
    {"error", [](auto& exchange) { exchange.End(MessageAnswer::OfError("C", "m")); }, true, false, true,
     "C m", nullptr},
    {"error without details", [](auto& exchange) { exchange.EndWithErrorWithoutDetails(); }, true, false,
     true, nullptr, nullptr},
    {"given up", [](auto& exchange) { exchange.TimeOut(); }, true, true, true, nullptr, nullptr},
};

TEST(MessageResultsFuture, EveryEndReadsAsItself) {
    for (const EndRow& row : kEndRows) {
        SCOPED_TRACE(row.name);
        auto exchange = std::make_shared<MessageExchange>();
        MessageResultsFuture future(exchange);
        row.end(*exchange);
        exchange.reset();  // the future outlives whoever carried the message

        EXPECT_EQ(future.WaitForDone(row.isDone ? kForever : 1), row.isDone);
        EXPECT_EQ(future.WaitForDone(0), row.isDone);
        EXPECT_EQ(future.HasTimedOut(), row.hasTimedOut);
        EXPECT_EQ(future.HasError(), row.hasError);
        std::string code = "unchanged";
        std::string message;
        EXPECT_EQ(future.GetErrorDetails(code, message), row.errorDetails != nullptr);
        EXPECT_EQ(code + (message.empty() ? "" : " ") + message,
                  row.errorDetails ? row.errorDetails : "unchanged");
        Parameters results = Parameters::fromJSON(R"({"unchanged":true})");
        EXPECT_EQ(future.GetResults(results), row.results != nullptr);
        EXPECT_EQ(results.toJSON(), row.results ? row.results : R"({"unchanged":true})");
    }
}

TEST(MessageResultsFuture, ALateEndIsDropped) {
    auto exchange = std::make_shared<MessageExchange>();
    MessageResultsFuture future(exchange);
    EXPECT_TRUE(exchange->TimeOut());
    EXPECT_FALSE(exchange->End(MessageAnswer::OfText("{}")));
    EXPECT_FALSE(exchange->EndWithErrorWithoutDetails());
    EXPECT_FALSE(exchange->TimeOut());
    Parameters results;
    EXPECT_TRUE(future.HasTimedOut());
    EXPECT_FALSE(future.GetResults(results));
}

class CountingObserver final : public BlockingObserver {
public:
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

TEST(MessageResultsFuture, AllWhoWaitAreWoken) {
    auto exchange = std::make_shared<MessageExchange>();
    auto future = std::make_shared<MessageResultsFuture>(exchange);
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        waiters.emplace_back([future] {
            std::string code;
            std::string message;
            EXPECT_TRUE(future->WaitForDone(kForever));
            EXPECT_TRUE(future->GetErrorDetails(code, message));
            EXPECT_EQ(code + message, "Cm");
        });
    }
    exchange->End(MessageAnswer::OfError("C", "m"));
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
