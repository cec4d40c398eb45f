#include <gmock/gmock.h>

#include <iostream>
#include <set>
#include <stdexcept>
#include <thread>

#include "ConsoleCapture.h"
#include "MessageContexts.h"
#include "ObjectStoreException.h"
#include "SubmitFixture.h"

namespace Weftline::Services {
namespace {

using CoreServices::Parameters;
using testing::MatchesRegex;
using TestSupport::StoreFault;

class SubmissionFlow : public SubmitFixture {};

TEST_F(SubmissionFlow, AnEmptyRequestIsStoredWithDefaultsAndAnnounced) {
    const std::string clientKey = Submit("{}");

    const StoredJob job = OnlyJob();
    EXPECT_EQ(job.record.recordID, clientKey);
    EXPECT_EQ(job.record.recordType, "Job");
    EXPECT_EQ(job.record.recordVersion, 1);
    EXPECT_EQ(job.record.name, "Transcode");
    EXPECT_EQ(job.record.description, "");

    Parameters publicData = job.publicData;
    std::string created;
    ASSERT_TRUE(publicData.GetParameter("createdDateTime", created));
    EXPECT_THAT(created, MatchesRegex("....-..-..T..:..:..(\\.......)?"));
    publicData.ClearParameter("createdDateTime");
    EXPECT_EQ(publicData.toJSON(),
              R"({"jobKind":"kind","jobState":"","jobQueue":"c52a7f6e-c32a-45da-8716-c06c79af3a98",)"
              R"("jobQueueName":"","createdBy":"","priority":50,"progress":0,"completedDateTime":""})");
    Parameters privateData = job.privateData;
    privateData.ClearParameter("processingData");
    privateData.ClearParameter("jobRunCaseData");
    EXPECT_EQ(
        privateData.toJSON(),
        R"({"parent":"","clientKey":"","jobMonitorID":"","jobLastState":"","jobEvalTaskKind":"evalKind",)"
        R"("clientMachine":"","requiredWorkerMachine":"","excludedWorkerMachine":"",)"
        R"("storeJobSpecificOutputMetadataInJobMonitor":true,"identity":"{}","jobBlueprintData":"{}",)"
        R"("globalConfigContext":"","emailSettingsParams":"{}","failJobOnFirstFailedTask":true})");

    ASSERT_EQ(stores.events->Events().size(), 1U);
    const Record event = stores.events->Events().front();
    EXPECT_EQ(event.recordType, "JobCreated");
    EXPECT_EQ(event.recordVersion, 1);
    EXPECT_EQ(event.recordTopic, "V2_WFJobEvents");
    EXPECT_EQ(event.recordData,
              R"({"id":")" + clientKey + R"(","jobQueue":"c52a7f6e-c32a-45da-8716-c06c79af3a98"})");
    EXPECT_NE(event.recordID, clientKey);
    EXPECT_TRUE(stores.events->AllDurable());
}

TEST_F(SubmissionFlow, ReadsTheCommonKeysAndTakesAWrongTypeForAbsent) {
    struct Row {
        std::string name, request;
        bool isPublic;
        std::string stored;  ///< a tree of one key, as it is to stand in the job
    };
    const Row rows[] = {
        {"queue", R"({"jobQueue":"q"})", true, R"({"jobQueue":"q"})"},
        {"queue no text", R"({"jobQueue":7})", true,
         R"({"jobQueue":"c52a7f6e-c32a-45da-8716-c06c79af3a98"})"},
        {"priority below", R"({"priority":-5})", true, R"({"priority":1})"},
        {"priority zero", R"({"priority":0})", true, R"({"priority":1})"},
        {"priority lowest", R"({"priority":1})", true, R"({"priority":1})"},
        {"priority highest", R"({"priority":100})", true, R"({"priority":100})"},
        {"priority above", R"({"priority":101})", true, R"({"priority":100})"},
        {"priority as text", R"({"priority":"7"})", true, R"({"priority":50})"},
        {"priority with fraction", R"({"priority":7.0})", true, R"({"priority":50})"},
        {"priority beyond 32 bits", R"({"priority":4294967297})", true, R"({"priority":50})"},
        {"fail", R"({"failJobOnFirstFailedTask":true})", false, R"({"failJobOnFirstFailedTask":true})"},
        {"fail as text", R"({"failJobOnFirstFailedTask":"true"})", false,
         R"({"failJobOnFirstFailedTask":false})"},
        {"client", R"({"clientMachine":"c"})", false, R"({"clientMachine":"c"})"},
        {"required", R"({"requiredWorkerMachine":"r"})", false, R"({"requiredWorkerMachine":"r"})"},
        {"excluded", R"({"excludedWorkerMachine":"e"})", false, R"({"excludedWorkerMachine":"e"})"},
        {"metadata", R"({"storeJobSpecificOutputMetadataInJobMonitor":false})", false,
         R"({"storeJobSpecificOutputMetadataInJobMonitor":false})"},
        {"parent", R"({"CompoundJobID":"p"})", false, R"({"parent":"p"})"},
        {"parent no text", R"({"CompoundJobID":{}})", false, R"({"parent":""})"},
        {"email", R"({"emailSettingsParams":{"emailPort":25}})", false,
         R"({"emailSettingsParams":"{\"emailPort\":25}"})"},
        {"email no tree", R"({"emailSettingsParams":"x"})", false, R"({"emailSettingsParams":"{}"})"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TestSupport::StoresInPlace fresh;
        Submit(plain, row.request, false);
        const Record record = fresh.records->Records().at(0);
        const Parameters data = Json(row.isPublic ? record.recordPublicData : record.recordData);
        const std::string key = Json(row.stored).GetTopLevelParameterNames().at(0);
        Parameters stored;
        stored.CopyValue(data, key, key);
        EXPECT_EQ(stored.toJSON(), row.stored);
    }
}

TEST_F(SubmissionFlow, TheCapitalDescriptionStandsInForAnEmptyOne) {
    struct Row {
        std::string request, description;
    };
    const Row rows[] = {
        {R"({"description":"y","Description":"x"})", "y"},
        {R"({"description":"","Description":"x"})", "x"},
        {R"({"description":1,"Description":"x"})", "x"},
        {R"({"Description":2})", ""},
    };
    for (const Row& row : rows) {
        const TestSupport::StoresInPlace fresh;
        Submit(row.request);
        EXPECT_EQ(fresh.records->Records().at(0).description, row.description) << row.request;
    }
}

TEST_F(SubmissionFlow, SplitsTheRequestIntoThreeTrees) {
    struct Row {
        std::string name, request;
        std::string processing, runCase, blueprint;  ///< the first two without the job's directories
    };
    const Row rows[] = {
        {"none", R"({"a":2147483648})", R"({"a":2147483648})", R"({"a":2147483648})", "{}"},
        {"object", R"({"jobParams":{"x":1.0},"a":1})", R"({"a":1,"jobParams":{"x":1.0}})",
         R"({"a":1,"jobParams":{}})", R"({"x":1.0})"},
        {"array of trees", R"({"jobParams":[{"x":1},{"y":2},{}]})", R"({"jobParams":{"x":1}})",
         R"({"jobParams":{}})", R"({"x":1})"},
        {"array with a text", R"({"jobParams":[{"x":1},"t"]})", R"({"jobParams":[{"x":1},"t"]})",
         R"({"jobParams":{}})", R"([{"x":1},"t"])"},
        {"empty array", R"({"jobParams":[]})", R"({"jobParams":[]})", R"({"jobParams":{}})", "[]"},
        {"text", R"({"jobParams":"t"})", R"({"jobParams":"t"})", R"({"jobParams":{}})", "{}"},
        {"null", R"({"jobParams":null})", R"({"jobParams":null})", R"({"jobParams":{}})", "{}"},
        {"capital", R"({"JobParams":{"x":1}})", R"({"JobParams":{"x":1}})", R"({"JobParams":{}})",
         R"({"x":1})"},
        {"capital array", R"({"JobParams":[{"x":1}]})", R"({"JobParams":[{"x":1}]})", R"({"JobParams":{}})",
         R"([{"x":1}])"},
        {"both", R"({"JobParams":{"y":2},"jobParams":{"x":1}})",
         R"({"JobParams":{"y":2},"jobParams":{"x":1}})", R"({"JobParams":{"y":2},"jobParams":{}})",
         R"({"x":1})"},
        {"profile", R"({"jobParams":{"profile":"p","x":1}})", R"({"jobParams":{}})", R"({"jobParams":{}})",
         "{}"},
        {"profile in array", R"({"jobParams":[{"profile":"p"},{"x":1}]})", R"({"jobParams":{}})",
         R"({"jobParams":{}})", "{}"},
        {"profile no text", R"({"jobParams":{"profile":5}})", R"({"jobParams":{"profile":5}})",
         R"({"jobParams":{}})", R"({"profile":5})"},
        {"profile under capital", R"({"JobParams":{"profile":"p"}})", R"({"JobParams":{"profile":"p"}})",
         R"({"JobParams":{}})", R"({"profile":"p"})"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TestSupport::StoresInPlace fresh;
        const std::string clientKey = Submit(row.request);
        const Record record = fresh.records->Records().at(0);
        const StoredJob job{record, Json(record.recordData), Parameters()};
        const auto withoutDirectories = [&](std::string_view key) {
            Parameters tree = job.Tree(key);
            tree.ClearParameter("processingControlDirectoryPath");
            tree.ClearParameter("metadataDirectory");
            return tree.toJSON();
        };
        EXPECT_EQ(withoutDirectories("processingData"), row.processing);
        EXPECT_EQ(withoutDirectories("jobRunCaseData"), row.runCase);
        EXPECT_EQ(job.Tree("jobBlueprintData").toJSON(), row.blueprint);
        EXPECT_EQ(fresh.records->CountReads(), 0U);
    }
}

TEST_F(SubmissionFlow, TheJobsDirectoriesReplaceTheClients) {
    const std::string clientKey =
        Submit(R"({"metadataDirectory":"/mine","rootPath":"/jobs","processingControlDirectoryPath":5})");
    const std::string expected = R"({"metadataDirectory":"/jobs/)" + clientKey +
                                 R"(","rootPath":"/jobs","processingControlDirectoryPath":"/jobs/)" +
                                 clientKey + R"("})";
    EXPECT_EQ(OnlyJob().Tree("processingData").toJSON(), expected);
    EXPECT_EQ(OnlyJob().Tree("jobRunCaseData").toJSON(), expected);
}

TEST_F(SubmissionFlow, AJobThatIsNotStoredIsNotAnnounced) {
    stores.records->FailUpserts(StoreFault::Refuse);
    EXPECT_EQ(TextOf<std::domain_error>([&] { Submit("{}"); }),
              "Transcode - upsert record into Object Store failed");
    stores.records->FailUpserts(StoreFault::Throw);
    EXPECT_THROW(Submit("{}"), CommonServices::ObjectStoreException);
    EXPECT_TRUE(stores.events->Events().empty());
}

TEST_F(SubmissionFlow, AJobStaysStoredWhenItsAnnouncementFails) {
    stores.events->FailAppends(StoreFault::Refuse);
    const std::string clientKey = Submit("{}");
    EXPECT_EQ(OnlyJob().record.recordID, clientKey);
    stores.events->FailAppends(StoreFault::Throw);
    EXPECT_THROW(Submit("{}"), CommonServices::ObjectStoreException);
    EXPECT_EQ(stores.records->Records().size(), 2U);
}

TEST_F(SubmissionFlow, TheCallersIdentityIsKeptAndHisNameLookedUp) {
    bus->On("findPrincipal",
            TestSupport::ScriptedAnswer::Results(Json(R"({"entity":{"displayName":"Ada"}})")));
    plain.SubmitJob("kind", "evalKind", "Render", true, Parameters(),
                    TestSupport::MakeContextOf("id-1", bus));
    std::string createdBy;
    OnlyJob().publicData.GetParameter("createdBy", createdBy);
    EXPECT_EQ(createdBy, "Ada");
    EXPECT_EQ(OnlyJob().Tree("identity").toJSON(), R"({"identityId":"id-1"})");
}

TEST_F(SubmissionFlow, OneHandlerServesManyThreadsAtOnce) {
    const TestSupport::ConsoleCapture quiet(std::cerr);
    constexpr int kThreads = 4;
    constexpr int kSubmissions = 25;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            for (int n = 0; n < kSubmissions; ++n) {
                plain.SubmitJob("kind", "evalKind", "Render", true, Json(R"({"jobParams":[{"x":1}]})"),
                                TestSupport::MakeAnonymousContext(bus));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::set<std::string> ids;
    for (const Record& record : stores.records->Records()) {
        ids.insert(record.recordID);
    }
    for (const Record& event : stores.events->Events()) {
        ids.insert(event.recordID);
    }
    EXPECT_EQ(ids.size(), std::size_t{2 * kThreads * kSubmissions});
}

}  // namespace
}  // namespace Weftline::Services
