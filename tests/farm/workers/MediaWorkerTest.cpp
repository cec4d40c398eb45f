#include <thread>
#include <utility>
#include <vector>

#include "farm/workers/MediaWorkerService.h"
#include "tests/farm/workers/WorkerFixture.h"

namespace Quillon::Farm {
namespace {

using namespace std::chrono_literals;

class MediaWorker : public WorkerFixture {};

TEST_F(MediaWorker, TellsTheCoordinatorHowFarATaskIs) {
    const auto service = MakeMediaWorkerService(Settings());
    EXPECT_EQ(Answer(*service, "performTask", TaskOf("mixdown")), "{}");
    std::vector<std::string> told;
    for (const auto& [kind, dispatch] : bus->Sent()) {
        EXPECT_EQ(kind, TestSupport::SentMessage::Kind::Notification);
        EXPECT_EQ(dispatch.service + " " + dispatch.realm + " " + std::to_string(dispatch.version) + " " +
                      dispatch.operation,
                  "orvik.quillon.processing.coordinator farm 7 1 taskProgress");
        told.push_back(dispatch.parameters.toJSON());
    }
    ASSERT_EQ(told.size(), 10U);
    EXPECT_EQ(told.front(), R"({"jobId":"j-1","progress":10})");
    EXPECT_EQ(told.back(), R"({"jobId":"j-1","progress":100})");
}

TEST_F(MediaWorker, RefusesWhatItDoesNotKnow) {
    const auto service = MakeMediaWorkerService(Settings());
    // The second has a name in reports, and no operation has it.
    for (const std::string kind : {"metadata.transcode", "mixdown.video"}) {
        EXPECT_EQ(
            Answer(*service, "performTask", TaskOf(kind)),
            "GENERIC_SERVICE_ERROR: The media worker knows no task \"orvik.quillon.task." + kind + "\".");
    }
    EXPECT_EQ(Answer(*service, "performTask", R"({"jobId":"j-1"})"), "BAD_REQUEST: \"taskKind\" is missing");
    EXPECT_EQ(bus->CountSent(), 0U);
}

TEST_F(MediaWorker, AStopEndsATaskUnderWayAtOnce) {
    const auto service = MakeMediaWorkerService(Settings(100h));
    std::string answer;
    std::thread task([&] { answer = Answer(*service, "performTask", TaskOf("export")); });
    stop.request_stop();
    task.join();
    EXPECT_EQ(answer, "SERVICE_STOPPING: The worker stops before the task is done.");
}

TEST_F(MediaWorker, ReportsInWithAllThatTheCoordinatorTellsOfAWorker) {
    ReportMediaWorkers(*bus, "farm 7");
    ASSERT_EQ(bus->CountSent(), 2U);
    std::vector<std::string> ids;
    for (const auto& [kind, dispatch] : bus->Sent()) {
        EXPECT_EQ(dispatch.realm + " " + dispatch.operation, "farm 7 workerReport");
        dispatch.parameters.GetParameter("id", ids.emplace_back());
        const std::string report = dispatch.parameters.toJSON();
        EXPECT_THAT(report, testing::HasSubstr(R"("workerKind":"orvik.quillon.processing.media.worker")"));
        EXPECT_THAT(report, testing::HasSubstr(R"("metadataOnly":false)"));
        EXPECT_THAT(report, testing::ContainsRegex(R"("processID":[1-9])"));
        EXPECT_TRUE(dispatch.parameters.HasParameter("machine") && dispatch.parameters.HasParameter("tag"));
    }
    EXPECT_NE(ids[0], ids[1]);
}

}  // namespace
}  // namespace Quillon::Farm
