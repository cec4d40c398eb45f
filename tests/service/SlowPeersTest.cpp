// What the clients of the service feel of peers that are slow or dead.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Core/src/Vocabulary.h"
#include "base/concurrency/BlockingRegion.h"
#include "platform/rest/RestGateway.h"
#include "service/SchedulerService.h"
#include "tests/inprocess/BusStories.h"
#include "tests/rest/RawClient.h"
#include "tests/support/HandlerFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

namespace Messaging = PlatformAbstraction::Messaging;
namespace Rest = PlatformAbstraction::Rest;
using CoreServices::Parameters;
using std::chrono::steady_clock;

constexpr std::size_t kClients = 64;
// Also what a client waits at most for its answer. Far more than all of them take together, and far less than
// they would take one after the other.
constexpr std::chrono::seconds kPatience{20};

/// The whole service behind a gateway, on a bus where its peers are the test's own.
class SlowPeers : public testing::Test {
protected:
    ~SlowPeers() override {
        m_silence.opened.Add();
        m_gateway.reset();
        if (m_pBus) {
            m_pBus->Stop(TestSupport::kDeadline);
        }
    }

    void Start(const Messaging::InProcessBusSettings& settings) {
        m_pBus = Messaging::InProcessBus::Create(settings);
        const auto service = std::make_shared<Messaging::ServiceInfo>();
        service->SetNameRealmVersion("scheduler", "test", 2);
        SchedulerService().RegisterServiceMessageHandlers(
            service, TestSupport::MakeConnection(std::make_shared<TestSupport::FakeBusMessaging>()), false);
        m_pAttached = m_pBus->Attach(service);
        Rest::RestGatewaySettings rest;
        rest.port = 0;
        rest.callers = {{Rest::Sha256("quick"), "quick", "Quick"}, {Rest::Sha256("slow"), "slow", "Slow"}};
        m_gateway.emplace(rest, service->GetRegistrations(), *m_pAttached);
        m_port = m_gateway->Start();
    }

    /// Its answers come through the test's silence, unless they are about the caller "quick".
    void AttachPeer(std::string_view name, std::int32_t version, std::string_view operation) {
        const auto peer = std::make_shared<Messaging::ServiceInfo>();
        peer->SetNameRealmVersion(std::string(name), std::string(Realms::Global), version);
        peer->AddMessageHandlerV2(std::make_shared<TestSupport::FunctionHandlerV2>(
            TestSupport::Registration(std::string(operation)),
            [this](const Parameters& request, const auto&) {
                std::string id;
                request.GetChildParameters(Keys::Entity).GetParameter(Keys::Id, id);
                if (id != "quick") {
                    const PlatformAbstraction::BlockingRegion blocking;
                    m_silence.Pass();
                }
                return TestSupport::Json(R"({"entity":{"displayName":"Known"},"results":[]})");
            }));
        m_pBus->Attach(peer);
    }

    Rest::RawResponse Post(const std::string& path, const std::string& token) const {
        return Rest::Ask(m_port, "POST /" + path + " HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer " +
                                     token + "\r\nContent-Length: 0\r\n\r\n");
    }

    template <typename Action>
    static std::vector<std::future<void>> InClients(const Action& action) {
        std::vector<std::future<void>> clients;
        for (std::size_t n = 0; n < kClients; ++n) {
            clients.push_back(std::async(std::launch::async, action));
        }
        return clients;
    }

    /// Many clients wait for the silent peer, all at once, while another one submits job after job.
    void CheckThatOnlyTheirOwnersWait(const std::string& path) {
        const auto begin = steady_clock::now();
        const auto waiting = InClients([&] { EXPECT_EQ(Post(path, "slow").status, 200); });
        EXPECT_TRUE(m_silence.arrived.WaitFor(1));
        for (std::size_t n = 0; n < kClients; ++n) {
            EXPECT_EQ(Post("submitExport", "quick").status, 200);
        }
        std::ranges::for_each(waiting, [](const auto& client) { client.wait(); });
        EXPECT_LT(steady_clock::now() - begin, kPatience);
        EXPECT_EQ(m_silence.arrived.Get(), kClients);
    }

    std::size_t CountJobsOf(const std::string& name) const {
        const auto jobs = m_stores.records->Records();
        return static_cast<std::size_t>(std::ranges::count_if(jobs, [&name](const Record& job) {
            return job.recordPublicData.find(R"("createdBy":")" + name + "\"") != std::string::npos;
        }));
    }

    TestSupport::StoresInPlace m_stores;
    TestSupport::Hold m_silence;
    std::shared_ptr<Messaging::InProcessBus> m_pBus;
    std::shared_ptr<Messaging::MessageSink> m_pAttached;
    std::optional<Rest::RestGateway> m_gateway;
    std::uint16_t m_port = 0;
};

TEST_F(SlowPeers, ASilentIdentityServiceCostsEachOfItsOwnASecondAndNobodyElse) {
    Start({.threads = 1, .maxStandIns = 1024, .maxQueuedMessages = 4096});
    AttachPeer(ServiceNames::Identity, 3, Operations::FindPrincipal);
    CheckThatOnlyTheirOwnersWait("submitTranscode");
    EXPECT_EQ(CountJobsOf("Known"), kClients);
    EXPECT_EQ(CountJobsOf(""), kClients);
    EXPECT_EQ(m_stores.events->Events().size(), 2 * kClients);
}

TEST_F(SlowPeers, ASilentJobMonitorKeepsOnlyThoseWhoAskIt) {
    Start({.threads = 1, .maxStandIns = 1024, .maxQueuedMessages = 4096});
    AttachPeer(ServiceNames::Identity, 3, Operations::FindPrincipal);
    AttachPeer(ServiceNames::JobMonitor, 1, Operations::FindJobs);
    CheckThatOnlyTheirOwnersWait("findJobsEx");
    EXPECT_EQ(CountJobsOf("Known"), kClients);
}

TEST_F(SlowPeers, AFloodIsRefusedAtOnceAndWhatWasTakenIsAnswered) {
    constexpr std::size_t kRoom = 5 + 8;
    Start({.threads = 1, .maxStandIns = 4, .maxQueuedMessages = 8});
    AttachPeer(ServiceNames::JobMonitor, 1, Operations::FindJobs);
    TestSupport::Tally refused;
    TestSupport::Tally answered;
    const auto clients = InClients([&] {
        const Rest::RawResponse response = Post("findJobsEx", "slow");
        if (response.status == 503) {
            EXPECT_NE(response.Header("retry-after"), "");
            refused.Add();
        } else {
            EXPECT_EQ(response.status, 200);
            answered.Add();
        }
    });
    EXPECT_TRUE(refused.WaitFor(kClients - kRoom));
    EXPECT_EQ(answered.Get(), 0U);
    m_silence.opened.Add();
    std::ranges::for_each(clients, [](const auto& client) { client.wait(); });
    EXPECT_GE(answered.Get(), 8U);
    EXPECT_EQ(Post("findJobsEx", "slow").status, 200);
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
