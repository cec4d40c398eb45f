#include "farm/workers/MediaWorkerService.h"
#include "farm/workers/MetadataWorkerService.h"
#include "tests/farm/FarmFixture.h"

namespace Quillon::Farm {
namespace {

using CoreServices::Parameters;

/// Both workers on a bus, in the realm "test".
class Workers : public TestSupport::FarmFixture {
protected:
    Workers() {
        const WorkerSettings settings{"test", {}, {}};
        bus->Attach(MakeMediaWorkerService(settings));
        bus->Attach(MakeMetadataWorkerService(settings, ""));
    }
    /// Empty when the task of the job "j" is done, else the text of the error.
    std::string Perform(const std::string& worker, const std::string& kind, const std::string& data = "{}",
                        const std::string& lease = "") {
        const auto task =
            Parameters::fromJSON(R"({"jobId":"j","taskKind":"orvik.quillon.task.)" + kind +
                                 R"(","farmLease":")" + lease + R"(","processingData":)" + data + "}");
        const auto future = bus->GetMessaging()->SendRequest(
            TestSupport::To("orvik.quillon.processing." + worker + ".worker", "performTask", task));
        std::string code;
        std::string message;
        EXPECT_NE(TestSupport::EndOf(*future), "under way");
        return future->GetErrorDetails(code, message) ? message : "";
    }
};

constexpr char kQuery[] = "metadata.query.suitablemasters";
constexpr char kMobs[] = R"({"InputMobIDs":["m-1","m-2"],"inputMobIDs":["m-3"]})";

TEST_F(Workers, SayWhyATaskFailed) {
    Weftline::Record elsewhere{"Job", 1, "V2_WFJobs"};
    elsewhere.recordID = "j.0";
    ASSERT_TRUE(CommonServices::ObjectStore().UpsertOne(elsewhere));
    const std::string unknown = " worker knows no task \"orvik.quillon.task.";
    // Worker, kind of task, processing data and what the failure says.
    const std::tuple<std::string, std::string, std::string, std::string> rows[] = {
        {"metadata", "metadata.mobidsfromcontainer", "{}", "Failed to extract: CompositionMetadataFilePath"},
        {"metadata", kQuery, R"({"InputMobIDs":["m",7]})", "\"InputMobIDs\" holds values that are no texts."},
        {"metadata", kQuery, kMobs, "The result 0 could not be stored."},
        {"metadata", "transcode", "{}", "The metadata" + unknown + "transcode\"."},
        {"media", "metadata.transcode", "{}", "The media" + unknown + "metadata.transcode\"."},
        // Reports have a name for it, but it is the task of no operation.
        {"media", "mixdown.video", "{}", "The media" + unknown + "mixdown.video\"."},
    };
    for (const auto& [worker, kind, data, failure] : rows) {
        EXPECT_EQ(Perform(worker, kind, data), failure);
    }
}

TEST_F(Workers, LeaveNoResultsThatAreWantedNoMore) {
    Submit({.id = "j"});
    // State and lease of the job when the task, of lease 5, comes to its end, and whether it leaves its
    // results.
    const std::tuple<std::string_view, std::string, bool> rows[] = {
        {Weftline::JobStates::Completed, "5", false},
        {Weftline::JobStates::Tasked, "6", false},
        {Weftline::JobStates::Readied, "5", true},
        {Weftline::JobStates::Tasked, "5", true},
    };
    for (const auto& [state, lease, leavesResults] : rows) {
        SetState("j", state, R"({"farmLease":")" + lease + "\"}");
        EXPECT_EQ(Perform("metadata", kQuery, kMobs, "5").empty(), leavesResults);
        EXPECT_EQ(CommonServices::ObjectStore()
                      .FindByID("j.0", std::string(Weftline::Collections::MasterMobDescs))
                      .has_value(),
                  leavesResults);
        ASSERT_TRUE(CommonServices::ObjectStore().DeleteMany({"j.0"}));
    }
}

}  // namespace
}  // namespace Quillon::Farm
