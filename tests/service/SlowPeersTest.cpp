// What the clients of the service feel of peers that are silent: it costs those who ask them, and nobody
// else.

#include <algorithm>
#include <deque>
#include <future>

#include "Core/src/Vocabulary.h"
#include "base/concurrency/BlockingRegion.h"
#include "platform/rest/RestGateway.h"
#include "tests/bus/BusStories.h"
#include "tests/rest/RawClient.h"
#include "tests/service/DescribedScheduler.h"

namespace Weftline::Services::Scheduler {
namespace {

namespace Messaging = PlatformAbstraction::Messaging;
namespace Rest = PlatformAbstraction::Rest;

// Were they answered one after the other, whoever comes last would give up before his turn.
constexpr std::size_t kClients = 64;

/// The whole service behind a gateway, on a bus where its peers are the test's own.
class SlowPeers : public testing::Test {
protected:
    ~SlowPeers() override { m_silence.opened.Add(); }

    /// Its peers are silent until the silence is opened, but for the question who "quick" is.
    void Start(const Messaging::InProcessBusSettings& settings) {
        m_pBus = TestSupport::MakeBus(settings);
        AttachPeer(ServiceNames::Identity, 3, Operations::FindPrincipal);
        AttachPeer(ServiceNames::JobMonitor, 1, Operations::FindJobs);
        const auto service = DescribeScheduler();
        m_pAttached = m_pBus->Attach(service);
        Rest::RestGatewaySettings rest;
        rest.port = 0;
        rest.callers = {{Rest::Sha256("quick"), "quick", "Quick"}, {Rest::Sha256("slow"), "slow", "Slow"}};
        m_gateway.emplace(rest, service->GetRegistrations(), *m_pAttached);
        m_port = m_gateway->Start();
    }

    void AttachPeer(std::string_view name, std::int32_t version, std::string_view operation) {
        const auto peer = TestSupport::MakeService(
            std::string(name),
            {{std::string(operation), [this](const auto& request, const auto&) {
                  std::string id;
                  request.GetChildParameters(Keys::Entity).GetParameter(Keys::Id, id);
                  if (id != "quick") {
                      const PlatformAbstraction::BlockingRegion blocking;
                      m_silence.Pass();
                  }
                  return TestSupport::Json(R"({"entity":{"displayName":"Known"},"results":[]})");
              }}});
        peer->SetNameRealmVersion(std::string(name), std::string(Realms::Global), version);
        m_pBus->Attach(peer);
    }

    static std::string Post(const std::string& path, const std::string& token) {
        return "POST /" + path + " HTTP/1.0\r\nAuthorization: Bearer " + token + "\r\n\r\n";
    }

    /// Many clients wait for the silent peer, all at once; meanwhile another one submits job after job.
    std::deque<Rest::RawClient> WaitWhileOthersSubmit(const std::string& path) {
        std::deque<Rest::RawClient> waiting;
        for (std::size_t n = 0; n < kClients; ++n) {
            waiting.emplace_back(m_port).Send(Post(path, "slow"));
        }
        EXPECT_TRUE(m_silence.arrived.WaitFor(kClients));
        for (std::size_t n = 0; n < kClients; ++n) {
            EXPECT_EQ(Rest::Ask(m_port, Post("submitExport", "quick")).status, 200);
        }
        return waiting;
    }

    TestSupport::StoresInPlace m_stores;
    TestSupport::Hold m_silence;
    std::shared_ptr<Messaging::InProcessBus> m_pBus;
    std::shared_ptr<Messaging::MessageSink> m_pAttached;
    std::optional<Rest::RestGateway> m_gateway;
    std::uint16_t m_port = 0;
};

TEST_F(SlowPeers, ASilentIdentityServiceCostsItsOwnASecondTogetherAndTheirJobsTheName) {
    Start({.threads = 1});
    for (Rest::RawClient& client : WaitWhileOthersSubmit("submitTranscode")) {
        EXPECT_EQ(client.ReadResponse()->status, 200);
    }
    const auto named = testing::HasSubstr(R"("createdBy":"Known")");
    EXPECT_EQ(m_stores.records->Records().size(), 2 * kClients);
    EXPECT_THAT(m_stores.records->Records(),
                testing::Contains(testing::Field(&Record::recordPublicData, named)).Times(kClients));
}

TEST_F(SlowPeers, ASilentJobMonitorKeepsOnlyThoseWhoAskIt) {
    Start({.threads = 1});
    auto waiting = WaitWhileOthersSubmit("findJobsEx");
    m_silence.opened.Add();
    for (Rest::RawClient& client : waiting) {
        EXPECT_EQ(client.ReadResponse()->status, 200);
    }
}

TEST_F(SlowPeers, AFloodIsRefusedAtOnceAndWhatWasTakenIsAnswered) {
    constexpr std::size_t kRoom = 5 + 8;
    Start({.threads = 1, .maxStandIns = 4, .maxQueuedMessages = 8});
    TestSupport::Tally refused;
    const auto ask = [&] {
        const Rest::RawResponse response = Rest::Ask(m_port, Post("findJobsEx", "slow"));
        if (response.status == 503 && !response.Header("retry-after").empty()) {
            refused.Add();
        }
        return response.status;
    };
    std::vector<std::future<int>> clients(kClients);
    std::ranges::generate(clients, [&] { return std::async(std::launch::async, ask); });
    EXPECT_TRUE(refused.WaitFor(kClients - kRoom));
    m_silence.opened.Add();
    const auto answered = std::ranges::count(clients, 200, [](auto& client) { return client.get(); });
    EXPECT_GE(answered, 8);
    EXPECT_EQ(static_cast<std::size_t>(answered) + refused.Get(), kClients);
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
