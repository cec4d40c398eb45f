#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "tests/rest/GatewayFixture.h"

namespace PlatformAbstraction::Rest {
namespace {

using Messaging::MessageAnswer;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds kShort{20};

TEST_F(GatewayTest, DoesNotWaitForeverForAnAnswerToBeTaken) {
    settings.idleTimeout = kShort;
    sink.holds = true;
    Start();
    RawClient client(port);
    client.Send(GetVideo());
    sink.TakeHeld()(MessageAnswer::OfText(std::string(64'000'000, ' ')));
    // Once the gateway has given up on the client that does not read, there is nobody to wait for.
    gateway->Stop(seconds(20));
    EXPECT_FALSE(client.ReadResponse().has_value());
}

TEST_F(GatewayTest, GivesALongAnswerToAClientThatReadsSlowly) {
    settings.idleTimeout = milliseconds(1000);
    Start();
    sink.RespondWith(MessageAnswer::OfText(std::string(64'000'000, ' ')));
    RawClient client(port);
    client.pauseBeforeRead = milliseconds(2);  // all of it takes far longer than the timeout
    EXPECT_EQ(client.Ask(GetVideo()).body.size(), 64'000'000U);
}

TEST_F(GatewayTest, ClosesAConnectionThatAsksForNothingAndWaitsForTheServiceWhateverTheTimeouts) {
    settings.requestTimeout = settings.idleTimeout = kShort;
    Start();
    sink.holds = true;
    RawClient slow(port);
    slow.Send(GetVideo());
    const auto answer = sink.TakeHeld();
    EXPECT_TRUE(RawClient(port).ReadsEnd());  // so deadlines were looked at meanwhile
    answer(MessageAnswer::OfText("late"));
    EXPECT_EQ(slow.ReadResponse()->body, "late");
}

TEST_F(GatewayTest, OutlivesRunningOutOfDescriptors) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "The sanitizers need descriptors themselves and take their want for a fault.";
#endif
    Start();
    RawClient client;
    rlimit limits{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limits), 0);
    testing::internal::CaptureStderr();
    const rlimit none{0, limits.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const bool isConnected = client.Connect(port);
    // Standard error is a file while it is captured, so its size tells without a further descriptor.
    struct stat complaint {};
    for (int n = 0; n < 20'000 && fstat(STDERR_FILENO, &complaint) == 0 && complaint.st_size == 0; ++n) {
        std::this_thread::sleep_for(milliseconds(1));
    }
    setrlimit(RLIMIT_NOFILE, &limits);
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(isConnected && complaint.st_size > 0);
    EXPECT_EQ(client.Ask(GetVideo()).status, 200);
}

TEST_F(GatewayTest, StopsAfterTheAnswersThatItOwes) {
    sink.holds = true;
    Start();
    RawClient waiting(port);
    waiting.Send(GetVideo() + GetVideo());
    const auto answer = sink.TakeHeld();
    RawClient idle(port);
    RawClient halfway(port);
    const std::string fields = "Content-Type: application/json\r\nExpect: 100-continue\r\n";
    ASSERT_EQ(halfway.Ask(Request("POST /submit", fields + "Content-Length: 2\r\n")).status, 100);

    gateway->StopAccepting();
    EXPECT_TRUE(idle.ReadsEnd());
    EXPECT_EQ(halfway.ReadResponse()->status, 503);
    EXPECT_FALSE(RawClient().Connect(port));

    auto stopped = std::async(std::launch::async, [this] { gateway->Stop(seconds(20)); });
    answer(MessageAnswer::OfText("owed"));
    const RawResponse response = waiting.ReadResponse().value();
    EXPECT_EQ(response.body, "owed");
    EXPECT_EQ(response.Header("connection"), "close");
    EXPECT_TRUE(waiting.ReadsEnd());
    EXPECT_EQ(stopped.wait_for(seconds(20)), std::future_status::ready);
}

TEST_F(GatewayTest, DropsAnswersThatNobodyWaitsFor) {
    sink.holds = true;
    settings.idleTimeout = kShort;
    Start();
    RawClient gone(port);
    gone.Send(GetVideo());
    const auto toNobody = sink.TakeHeld();
    gone.Reset();
    toNobody(MessageAnswer::OfText("late"));
    RawClient client(port);
    client.Send(GetVideo());
    const auto afterTheEnd = sink.TakeHeld();
    gateway->Stop(milliseconds(0));
    afterTheEnd(MessageAnswer::OfText("later"));
    gateway.reset();
    afterTheEnd(MessageAnswer::OfText("latest"));
    EXPECT_FALSE(client.ReadResponse().has_value());
}

TEST_F(GatewayTest, ListensOnlyWhereItMay) {
    for (const auto& [host, text] :
         {std::pair("0.0.0.0", "callers"), std::pair("::", "callers"), std::pair("192.0.2.1", "callers"),
          std::pair("no.such.host.invalid", "--host")}) {
        settings.host = host;
        EXPECT_THAT([this] { Start(); }, testing::ThrowsMessage<CannotListenError>(testing::HasSubstr(text)));
    }
    settings.host = "127.0.0.1";
    Start();
    RestGatewaySettings same = settings;
    same.port = port;
    RestGateway second(same, Registrations(), sink);
    EXPECT_THROW(second.Start(), CannotListenError);
    settings.host = "0.0.0.0";
    settings.callers = {{Sha256("token"), "id", "name"}};
    settings.behindProxy = true;
    Start();
    const auto anyName = "GET /jobs/all HTTP/1.1\r\nHost: any.name\r\nAuthorization: Bearer token\r\n\r\n";
    EXPECT_EQ(Ask(port, anyName).status, 200);
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
