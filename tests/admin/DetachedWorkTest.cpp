#include <atomic>
#include <cstdlib>
#include <thread>

#include "handlers/admin/Configuration.h"
#include "handlers/admin/RemoveObsoleteJobsHandler.h"
#include "tests/admin/AdminFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

constexpr char kPurge[] = R"({"CreationDate":"2024-05-06T07:08:09","kind":"k"})";

class DetachedWork : public AdminFixture {};

TEST_F(DetachedWork, NeitherHoldsNorCrashesAProcessThatEnds) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    static std::atomic<int> atWork{0};
    // Work of all three kinds that never ends.
    const auto hold = ScriptedAnswer::From([](const auto&) -> MessageAnswer {
        for (++atWork;;) {
            std::cout << std::flush;
        }
    });
    bus->On("setGlobalConfigData", hold);
    bus->On("remoteLogging", hold);
    const auto page = Json(R"({"results":[{"id":"j"}],"limit":1,"total":2147483647})");
    bus->On("findJobsByKind", ScriptedAnswer::From([page](const auto& dispatch) {
                std::int32_t offset = 0;
                atWork += dispatch.parameters.GetParameter("offset", offset) && offset == 1 ? 1 : 0;
                return MessageAnswer::OfResults(page);
            }));
    const auto endUnderWork = [this] {
        ConfigureDXHandler configure(connection);
        Answer(configure, R"({"connectionURL":"u"})");
        RemoteLoggingHandler logging(connection);
        Answer(logging, "{}");
        RemoveObsoleteJobsHandler purge(connection);
        Answer(purge, kPurge);
        while (atWork < 4) {  // one configuration, both broadcasts, the second page
            std::this_thread::yield();
        }
        std::exit(0);
    };
    EXPECT_EXIT(endUnderWork(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
