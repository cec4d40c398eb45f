#include "farm/workers/MetadataWorkerService.h"

#include <iterator>
#include <thread>

#include "tests/farm/workers/WorkerFixture.h"

namespace Quillon::Farm {
namespace {

using namespace std::chrono_literals;

class MetadataWorker : public WorkerFixture {
protected:
    /// Each record as "<id> <data>", with a line feed after it; checks where they are filed.
    std::string Results(const std::string& collection, const std::string& type) const {
        std::string results;
        for (const Weftline::Record& record : stores.records->Records()) {
            EXPECT_EQ(record.recordTopic + " " + record.recordType, collection + " " + type);
            EXPECT_EQ(record.recordPublicData, R"({"tags":[],"queryID":"j-1"})");
            results += record.recordID + " " + record.recordData + "\n";
        }
        return results;
    }
};

TEST_F(MetadataWorker, AnswersTheCatalogueMessages) {
    const auto service = MakeMetadataWorkerService(Settings(), "");
    EXPECT_EQ(Answer(*service, "getS3DModes", R"({"S3DMode":"Monoscopic"})"),
              R"({"results":{"S3DModesList":[{"S3DMode":"Monoscopic",)"
              R"("GUID":"FB15BAF1-DA36-49F3-9059-D3A0CCE153CA"}],"FoundS3DModes":1}})");
    EXPECT_EQ(Answer(*service, "getVideoFormats", R"({"LegacyVCID":-1})"),
              R"({"results":{"FormatsList":[],"FoundFormats":0}})");
}

TEST_F(MetadataWorker, LeavesTheResultsOfAQueryOnceHoweverOftenItIsCarriedOut) {
    struct Row {
        std::string task;
        std::string request;
        std::string collection;
        std::string type;
        std::string firstResult;
        std::ptrdiff_t count;
    };
    const std::string mobs = R"({"InputMobIDs":["m-1","m-2"],"inputMobIDs":["m-3"]})";
    const Row rows[] = {
        {"metadata.query.exporttypes", R"({"name":"MXF OP1a","description":"x"})", "V2_WFExportTypes",
         "ExportType", R"({"GUID":"D49F75BA-4965-4CFA-9D11-CD87206287E0","name":"MXF OP1a","type":"LXA"})",
         1},
        {"metadata.query.video", R"({"RasterWidth":3840,"RateDenominator":1001})", "V2_WFVideoFormats",
         "VideoFormat", R"({"RasterSize":{"Width":3840,"Height":2160},"Progressive":true,)", 3},
        {"metadata.query.audio", R"({"SampleRate":96000})", "V2_WFAudioFormats", "AudioFormat",
         R"({"FileFormat":"FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60","SampleRate":96000,"BitsPerSample":16,)", 4},
        {"metadata.sourceavailability", mobs, "V2_WFSourceAvailabilities", "SourceAvailability",
         R"({"InputMobID":"m-1","Available":true})", 2},
        {"metadata.mobidsfromcontainer", R"({"CompositionMetadataFilePath":"C:\\a.aaf"})", "V2_WFMobIDs",
         "MobID", R"({"MobID":")", 3},
        {"metadata.query.suitablemasters", mobs, "V2_WFMasterMobDescs", "MasterMobDesc",
         R"({"InputMobID":"m-1","MasterMobID":")", 2},
        {"metadata.query.suitablemasters", "{}", "", "", "", 0},
        {"metadata.transcode", "{}", "", "", "", 0},
    };
    const auto service = MakeMetadataWorkerService(Settings(), "");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.task);
        EXPECT_EQ(Answer(*service, "performTask", TaskOf(row.task, row.request)), "{}");
        const std::string results = Results(row.collection, row.type);
        EXPECT_EQ(std::count(results.begin(), results.end(), '\n'), row.count);
        EXPECT_TRUE(row.count == 0 || results.starts_with("j-1.0 " + row.firstResult)) << results;
        EXPECT_EQ(Answer(*service, "performTask", TaskOf(row.task, row.request)), "{}");
        EXPECT_EQ(Results(row.collection, row.type), results);
        for (const Weftline::Record& record : stores.records->Records()) {
            stores.records->DeleteMany({record.recordID});
        }
    }
}

TEST_F(MetadataWorker, SaysWhyATaskFailed) {
    const auto service = MakeMetadataWorkerService(Settings(), "");
    EXPECT_EQ(Answer(*service, "performTask", TaskOf("metadata.mobidsfromcontainer")),
              "GENERIC_SERVICE_ERROR: Failed to extract: CompositionMetadataFilePath");
    EXPECT_EQ(
        Answer(*service, "performTask", TaskOf("metadata.sourceavailability", R"({"InputMobIDs":["m",7]})")),
        "GENERIC_SERVICE_ERROR: \"InputMobIDs\" holds values that are no texts.");
    EXPECT_EQ(Answer(*service, "performTask", TaskOf("transcode")),
              "GENERIC_SERVICE_ERROR: The metadata worker knows no task \"orvik.quillon.task.transcode\".");
    stores.records->upsertFault = TestSupport::StoreFault::Refuse;
    EXPECT_EQ(Answer(*service, "performTask", TaskOf("metadata.query.video")),
              "GENERIC_SERVICE_ERROR: The result 0 could not be stored.");
}

TEST_F(MetadataWorker, AStoppedQueryLeavesNoResults) {
    const auto service = MakeMetadataWorkerService(Settings(100h), "");
    std::string answer;
    std::thread task([&] { answer = Answer(*service, "performTask", TaskOf("metadata.query.video")); });
    stop.request_stop();
    task.join();
    EXPECT_EQ(answer, "SERVICE_STOPPING: The worker stops before the task is done.");
    EXPECT_TRUE(stores.records->Records().empty());
}

}  // namespace
}  // namespace Quillon::Farm
