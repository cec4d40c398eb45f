#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "AdminFixture.h"
#include "ConfigureDXHandler.h"
#include "ConsoleCapture.h"
#include "RemoteLoggingHandler.h"
#include "RemoveObsoleteJobsHandler.h"

namespace Weftline::Services::Scheduler {
namespace {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageAnswer;
using TestSupport::ScriptedAnswer;

/// Real threads that can be waited for, since what they write to lives in the test.
class ThreadsAtWork {
public:
    ThreadStarter Starter() {
        return [this](std::function<void()> work) {
            const std::lock_guard lock(m_mutex);
            StartDetachedThread([this, work = std::move(work)]() mutable {
                work();
                work = nullptr;  // before it is counted: nothing of it may end later
                const std::lock_guard inner(m_mutex);
                --m_atWork;
                m_changed.notify_all();
            });
            ++m_atWork;
        };
    }
    ~ThreadsAtWork() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_atWork == 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_atWork = 0;  // guarded by m_mutex
};

class DetachedWork : public AdminFixture {};

TEST_F(DetachedWork, OutlivesTheMessageAndTheHandlerThatStartedIt) {
    bus->On("setGlobalConfigData", Results("{}"));
    bus->On("remoteLogging", ScriptedAnswer::Error("E", "m"));
    bus->On("findJobsByKind",
            Results(R"({"results":[{"id":"j","creationDateTime":"2001-01-01T00:00:00.000Z"}],"total":1})"));
    bus->On("removeJob", Results(R"({"id":"j"})"));
    const TestSupport::ConsoleCapture console(std::cout);
    ThreadsAtWork threads;
    constexpr int kRounds = 20;
    {
        ConfigureDXHandler configure(Connection(), threads.Starter());
        RemoteLoggingHandler logging(Connection(), threads.Starter());
        RemoveObsoleteJobsHandler purge(Connection(), threads.Starter());
        const auto send = [&](int from) {
            for (int n = 0; n < kRounds; ++n) {
                Answer(configure, R"({"connectionURL":")" + std::to_string(from + n) + "\"}");
                Answer(logging, R"({"turnOnRemoteLogging":true})");
                Answer(purge, R"({"CreationDate":"2024-05-06T07:08:09","kind":"k"})");
            }
        };
        std::thread other(send, kRounds);
        send(0);
        other.join();
    }
    // One configuration, two broadcasts, one page and one removal for each round of both senders.
    EXPECT_TRUE(bus->WaitForSent(std::size_t{2} * kRounds * 5));
}

/// Starts work of all three kinds that never ends, waits until all of it is under way, and ends the process.
[[noreturn]] void EndTheProcessUnderWork(
    const std::shared_ptr<TestSupport::FakeBusMessaging>& bus,
    const std::shared_ptr<PlatformAbstraction::Messaging::BusConnection>& connection,
    const std::shared_ptr<PlatformAbstraction::Messaging::MessageContext>& context) {
    static std::atomic<int> atWork{0};
    const auto hold = ScriptedAnswer::From([](const auto&) -> MessageAnswer {
        for (++atWork;;) {
            std::cout << std::flush;
        }
    });
    bus->On("setGlobalConfigData", hold);
    bus->On("remoteLogging", hold);
    // A purge that turns page after page.
    const auto page = Parameters::fromJSON(R"({"results":[{"id":"j"}],"limit":1,"total":2147483647})");
    bus->On("findJobsByKind", ScriptedAnswer::From([page](const auto& dispatch) {
                std::int32_t offset = 0;
                atWork += dispatch.parameters.GetParameter("offset", offset) && offset == 1 ? 1 : 0;
                return MessageAnswer::OfResults(page);
            }));
    PlatformAbstraction::Messaging::ServiceMessageResponse responses[3];
    ConfigureDXHandler(connection)
        .HandleMessage(context, Parameters::fromJSON(R"({"connectionURL":"u"})"), responses[0]);
    RemoteLoggingHandler(connection).HandleMessage(context, Parameters(), responses[1]);
    RemoveObsoleteJobsHandler(connection)
        .HandleMessage(context, Parameters::fromJSON(R"({"CreationDate":"2024-05-06T07:08:09","kind":"k"})"),
                       responses[2]);
    while (atWork < 4) {
        std::this_thread::yield();
    }
    std::exit(0);
}

TEST_F(DetachedWork, NeitherHoldsNorCrashesAProcessThatEnds) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(EndTheProcessUnderWork(bus, Connection(), Context()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
