#include "farm/workers/MediaWorkerService.h"
#include "farm/workers/MetadataWorkerService.h"
#include "tests/farm/FarmFixture.h"
#include "tests/inprocess/BusStories.h"

namespace Quillon::Farm {
namespace {

using CoreServices::Parameters;
namespace Messaging = PlatformAbstraction::Messaging;

/// Both workers on a bus, in the realm "test".
class Workers : public TestSupport::FarmFixture {
protected:
    Workers() {
        const WorkerSettings settings{"test", {}, {}};
        bus->Attach(MakeMediaWorkerService(settings));
        bus->Attach(MakeMetadataWorkerService(settings, ""));
    }
    /// Empty when the task of the job "j" is done, else "<code>: <text>".
    std::string Perform(const std::string& worker, const std::string& kind, const std::string& data = "{}") {
        const auto task = Parameters::fromJSON(R"({"jobId":"j","taskKind":"orvik.quillon.task.)" + kind +
                                               R"(","processingData":)" + data + "}");
        const auto future = bus->GetMessaging()->SendRequest(
            TestSupport::To("orvik.quillon.processing." + worker + ".worker", "performTask", task));
        EXPECT_TRUE(future->WaitForDone(TestSupport::kDeadlineMicroseconds));
        std::string code;
        std::string message;
        return future->GetErrorDetails(code, message) ? code + ": " + message : "";
    }
    static std::string Masters() {
        std::string results;
        for (const auto& record : CommonServices::ObjectStore().FindRecordsWithReferencedID(
                 "V2_WFMasterMobDescs", "MasterMobDesc", "queryID", "j", 0, 9)) {
            results += record.recordID + " " + record.recordData + "\n";
        }
        return results;
    }

    std::shared_ptr<Messaging::InProcessBus> bus = TestSupport::MakeBus();
};

constexpr char kQuery[] = "metadata.query.suitablemasters";
constexpr char kMobs[] = R"({"InputMobIDs":["m-1","m-2"],"inputMobIDs":["m-3"]})";

TEST_F(Workers, TheResultsOfAQueryAreThereOnceHoweverOftenItIsCarriedOut) {
    EXPECT_EQ(Perform("metadata", "metadata.transcode"), "");
    EXPECT_EQ(Perform("metadata", kQuery), "");
    EXPECT_EQ(Masters(), "");
    EXPECT_EQ(Perform("metadata", kQuery, kMobs), "");
    const std::string results = Masters();
    EXPECT_EQ(std::count(results.begin(), results.end(), '\n'), 2);
    EXPECT_TRUE(results.starts_with(R"(j.0 {"InputMobID":"m-1","MasterMobID":")")) << results;
    EXPECT_EQ(Perform("metadata", kQuery, kMobs), "");
    EXPECT_EQ(Masters(), results);
}

TEST_F(Workers, SayWhyATaskFailed) {
    Weftline::Record elsewhere{"Job", 1, "V2_WFJobs"};
    elsewhere.recordID = "j.0";
    ASSERT_TRUE(CommonServices::ObjectStore().UpsertOne(elsewhere));
    struct Row {
        std::string worker, kind, data, failure;
    };
    const std::string unknown = " worker knows no task \"orvik.quillon.task.";
    const Row rows[] = {
        {"metadata", "metadata.mobidsfromcontainer", "{}", "Failed to extract: CompositionMetadataFilePath"},
        {"metadata", kQuery, R"({"InputMobIDs":["m",7]})", "\"InputMobIDs\" holds values that are no texts."},
        {"metadata", kQuery, kMobs, "The result 0 could not be stored."},
        {"metadata", "transcode", "{}", "The metadata" + unknown + "transcode\"."},
        {"media", "metadata.transcode", "{}", "The media" + unknown + "metadata.transcode\"."},
        // Reports have a name for it, but it is the task of no operation.
        {"media", "mixdown.video", "{}", "The media" + unknown + "mixdown.video\"."},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Perform(row.worker, row.kind, row.data), "GENERIC_SERVICE_ERROR: " + row.failure);
    }
}

}  // namespace
}  // namespace Quillon::Farm
