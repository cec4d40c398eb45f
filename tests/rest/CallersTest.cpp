#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <string>
#include <vector>

#include "tests/rest/GatewayFixture.h"

namespace PlatformAbstraction::Rest {
namespace {

using ::testing::HasSubstr;

const Caller kDay{Sha256("day token"), "id-day", "Day"};
const Caller kNight{Sha256("night token"), "id-night", "Night"};

std::string With(const std::string& token) {
    return "Authorization: Bearer " + token + "\r\n";
}

TEST_F(GatewayTest, FollowsItsCallersOnConnectionsThatAreOpen) {
    Start();
    std::vector<std::unique_ptr<RawClient>> clients;  // on every loop
    for (unsigned n = 0; n < 2 * settings.threads; ++n) {
        clients.push_back(std::make_unique<RawClient>(port));
    }
    const auto expect = [&](const std::string& token, int status) {
        for (const auto& client : clients) {
            EXPECT_EQ(client->Ask(GetVideo(With(token))).status, status) << token;
        }
    };
    expect("anything", 200);
    gateway->SetCallers({kDay, kNight});
    expect("anything", 401);
    expect("day token", 200);
    gateway->SetCallers({kNight, {Sha256("new token"), "id-new", "New"}});
    expect("day token", 401);
    expect("new token", 200);
    EXPECT_THAT(sink.LastMessage(), HasSubstr("id-new"));
    EXPECT_THROW(gateway->SetCallers({}), std::invalid_argument);
    expect("anything", 401);
    expect("night token", 200);
}

TEST_F(GatewayTest, LosesNobodyWhileTheCallersChange) {
    settings.callers = {kDay};
    Start();
    std::atomic<bool> isOver{false};
    std::vector<std::future<void>> clients;
    for (int n = 0; n < 4; ++n) {
        clients.push_back(std::async(std::launch::async, [this, &isOver] {
            RawClient client(port);
            do {
                ASSERT_EQ(client.Ask(GetVideo(With("day token"))).status, 200);
                ASSERT_EQ(client.Ask(GetVideo(With("no token"))).status, 401);
            } while (!isOver);
        }));
    }
    for (int n = 0; n < 200; ++n) {
        gateway->SetCallers(n % 2 == 0 ? std::vector{kNight, kDay} : std::vector{kDay});
    }
    isOver = true;
}

TEST_F(GatewayTest, LetsNoForeignPageEmbedOrPreflight) {
    settings.allowedOrigins = {"http://page.example"};
    Start();
    const std::string ours = "Origin: http://page.example\r\n";
    const std::pair<std::string, int> rows[] = {
        {"Sec-Fetch-Site: cross-site\r\n", 403},
        {"Sec-Fetch-Site: Same-Site\r\n", 403},
        {"Sec-Fetch-Site: none\r\n", 200},
        {"Sec-Fetch-Site: same-origin\r\n", 200},
        {ours + "Sec-Fetch-Site: cross-site\r\n", 200},
        {ours + "Sec-Fetch-Site: none\r\nSec-Fetch-Site: none\r\n", 400},
        {"Origin: http://page.example, http://page.example\r\n", 403},
        {"Origin: http://foreign.example\r\nAccess-Control-Request-Method: POST\r\n", 403},
    };
    for (const auto& [fields, status] : rows) {
        EXPECT_EQ(Ask(port, GetVideo(fields)).status, status) << fields;
        const int toOptions = status == 200 ? 405 : status;
        EXPECT_EQ(Ask(port, Request("OPTIONS /submit", fields)).status, toOptions) << fields;
    }
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
