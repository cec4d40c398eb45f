// What a gateway with little memory does with bodies that want much of it.

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <future>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/rest/GatewayFixture.h"

namespace PlatformAbstraction::Rest {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::size_t kMostBody = 1048576;

/// A gateway with room for one large body at a time.
class TightGateway : public GatewayTest {
protected:
    TightGateway() {
        settings.maxBodyBytes = kMostBody;
        settings.maxRequestMemoryBytes = LeastRequestMemory(kMostBody);
        settings.requestTimeout = milliseconds(1500);
    }

    static std::string Head(const std::string& fields, std::size_t length = kMostBody) {
        return Request("POST /submit",
                       "Content-Type: application/json\r\n" + fields +
                           (length == 0 ? "" : "Content-Length: " + std::to_string(length) + "\r\n"));
    }

    static std::string Chunk(const std::string& text) {
        std::ostringstream size;
        size << std::hex << text.size();
        return size.str() + "\r\n" + text + "\r\n";
    }

    static std::string Valid(std::size_t size) { return R"({"a":")" + std::string(size - 8, 'x') + R"("})"; }

    static std::string WorstBody(std::size_t size = kMostBody) {
        std::string body = "[[]";
        while (body.size() + 4 < size) {
            body += ",[]";
        }
        return body + "]";
    }

    template <typename Condition>
    static void Await(const Condition& condition) {
        const auto deadline = steady_clock::now() + std::chrono::seconds(20);
        while (!condition() && steady_clock::now() < deadline) {
            std::this_thread::sleep_for(milliseconds(1));
        }
    }

    /// Until a body is let in, so that who comes after it finds it there.
    void AwaitBodies(std::size_t bytes) const {
        Await([&] { return gateway->GetRequestMemory() >= bytes; });
    }

    void ExpectNothingHeld(const std::string& after) const {
        Await([&] { return gateway->GetRequestMemory() == 0; });
        EXPECT_EQ(gateway->GetRequestMemory(), 0U) << after;
    }
};

TEST_F(TightGateway, ServesAnHonestCallerBesideWorstBodiesAndStalledOnes) {
    Start();
    std::deque<RawClient> stalled;
    for (int n = 0; n < 64; ++n) {
        stalled.emplace_back(port).Send(Head("") + "[");
    }
    std::vector<std::future<int>> worst;
    for (int n = 0; n < 4; ++n) {
        worst.push_back(
            std::async(std::launch::async, [this] { return Ask(port, Post(WorstBody())).status; }));
    }
    RawClient honest(port);
    for (int n = 0; n < 100; ++n) {
        ASSERT_EQ(honest.Ask(Post(Valid(4000))).status, 200);
    }
    for (auto& outcome : worst) {
        EXPECT_THAT(outcome.get(), testing::AnyOf(400, 503));
    }
    for (RawClient& client : stalled) {
        const RawResponse response = client.ReadResponse().value_or(RawResponse());
        EXPECT_THAT(response.status, testing::AnyOf(408, 503));
        EXPECT_EQ(response.Header("retry-after").empty(), response.status == 408);
    }
    ExpectNothingHeld("all of them");
}

TEST_F(TightGateway, AnswersThatNobodyTakesLeaveSmallRequestsTheirRoom) {
    sink.RespondWith(Messaging::MessageAnswer::OfText(std::string(kMostBody, ' ')));
    Start();
    EXPECT_EQ(RawClient(port).Ask(GetVideo()).status, 200);  // from now on it is known how much they take
    std::deque<RawClient> idle;
    for (int n = 0; n < 100; ++n) {
        idle.emplace_back(port).Send(GetVideo());
    }
    AwaitBodies(settings.maxRequestMemoryBytes / 2);
    sink.RespondWith(Messaging::MessageAnswer::OfText("{}"));
    EXPECT_EQ(Ask(port, Post(Valid(4000))).status, 200);
    EXPECT_EQ(Ask(port, Post(Valid(40'000))).status, 200);
    EXPECT_LE(gateway->GetRequestMemory(), settings.maxRequestMemoryBytes);
    idle.clear();
    ExpectNothingHeld("untaken answers");
}

TEST_F(TightGateway, LetsABodyWaitForRoomAndItsTimeStandsStillMeanwhile) {
    Start();
    RawClient stalled(port);
    stalled.Send(Head(""));
    AwaitBodies(kMostBody);
    RawClient waiting(port);
    waiting.Send(Head("Expect: 100-continue\r\n"));
    RawClient chunked(port);
    const std::string inChunks = Head("Transfer-Encoding: chunked\r\n", 0);
    EXPECT_EQ(chunked.Ask(inChunks + Chunk("{}") + "0\r\n\r\n").status, 200);  // lies in the buffer
    EXPECT_EQ(Ask(port, Post(Valid(60'000))).status, 200);                     // small ones go on
    EXPECT_EQ(stalled.ReadResponse()->status, 408);
    EXPECT_EQ(waiting.ReadResponse()->status, 100);  // not before: his own time would have been over by now
    EXPECT_EQ(waiting.Ask(Valid(kMostBody)).status, 200);
    std::string request = inChunks;
    for (int n = 0; n < 8; ++n) {
        request += Chunk(n == 0 ? "[[]" : std::string(100'000, ' '));
    }
    EXPECT_EQ(chunked.Ask(request + Chunk("]") + "0\r\n\r\n").ErrorCode(), "BODY_NOT_AN_OBJECT");
    ExpectNothingHeld("bodies that waited");
}

TEST_F(TightGateway, RefusesWhoWaitsTooLongBeforeHisBodyIsRead) {
    settings.requestTimeout = milliseconds(500);
    sink.holds = true;
    Start();
    std::atomic<int> refused = 0;
    std::vector<std::future<bool>> outcomes;
    const std::string request = Post("{\"a\":" + WorstBody(kMostBody - 10) + "}");
    for (int n = 0; n < 12; ++n) {
        outcomes.push_back(std::async(std::launch::async, [&] {
            const RawResponse response = Ask(port, request);
            refused += response.status == 503;
            EXPECT_EQ(response.ErrorCode() + response.Header("retry-after"),
                      response.status == 503 ? "QUEUE_FULL1" : "");
            return response.status == 200;
        }));
    }
    Await([&] { return refused > 0; });
    sink.holds = false;
    sink.AnswerHeld();
    const auto answered = std::ranges::count(outcomes, true, [](auto& outcome) { return outcome.get(); });
    EXPECT_GE(answered, 1);  // what was let in, however long it waits for its tree
    EXPECT_EQ(answered + refused, 12);
    ExpectNothingHeld("refusals");
}

TEST_F(TightGateway, GivesNobody408ForWhatItDidNotReadItself) {
    settings.requestTimeout = milliseconds(250);
    settings.threads = 1;
    Start();
    RawClient client(port);
    const std::string body = Valid(900'000);
    client.Send(Head("", body.size()) + body.substr(0, 10));
    AwaitBodies(body.size());
    sink.WhileBusy([&] {  // and with it the thread that reads
        RawClient(port).Send(GetVideo());
        client.Send(body.substr(10, 100'000));
        std::this_thread::sleep_for(4 * settings.requestTimeout);
    });
    EXPECT_EQ(client.Ask(body.substr(100'010)).status, 200);
}

TEST_F(TightGateway, GivesAllBackHoweverARequestEnds) {
    settings.requestTimeout = milliseconds(400);
    Start();
    for (const std::size_t size : {std::size_t{1000}, std::size_t{50'000}, kMostBody}) {
        const std::string name = std::to_string(size);
        RawClient client(port);
        EXPECT_EQ(client.Ask(Post(WorstBody(size))).status, 400);
        EXPECT_EQ(client.Ask(Post(Valid(size))).status, 200);
        EXPECT_EQ(client.Ask(Post(Valid(size) + "x")).status, size < kMostBody ? 400 : 413);
        ExpectNothingHeld("answers to " + name);
        EXPECT_EQ(Ask(port, Head("", size) + "{").status, 408);
        ExpectNothingHeld("too slow " + name);
        RawClient cut(port);
        cut.Send(Head("", size) + "{");
        cut.Reset();
        ExpectNothingHeld("cut off " + name);
        EXPECT_EQ(
            Ask(port, Head("Transfer-Encoding: chunked\r\n", 0) + Chunk(std::string(size, ' ')) + "x\r\n")
                .status,
            400);
        ExpectNothingHeld("malformed " + name);
    }
    sink.throws = true;
    EXPECT_EQ(Ask(port, Post(Valid(kMostBody))).status, 500);
    ExpectNothingHeld("a failure");
    sink.throws = false;
    sink.holds = true;
    RawClient first(port);
    first.Send(Post(Valid(kMostBody)));
    sink.TakeHeld();  // and nobody answers
    ExpectNothingHeld("a message without an answer");
    RawClient second(port);
    second.Send(Head(""));
    AwaitBodies(kMostBody);
    RawClient third(port);
    third.Send(Head("") + "{");
    gateway->Stop(milliseconds(0));
    ExpectNothingHeld("the end");
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
