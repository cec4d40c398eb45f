#include "platform/stores/RecordStore.h"
#include "tests/submit/SubmitFixture.h"

namespace Weftline::Services {
namespace {

using testing::MatchesRegex;
using TestSupport::StoreFault;

class SubmissionFlow : public SubmitFixture {};

TEST_F(SubmissionFlow, AnEmptyRequestIsStoredWithDefaultsAndAnnounced) {
    bus->On("findPrincipal", Results(R"({"entity":{"displayName":"Ada"}})"));
    const std::string clientKey = Submit(plain, "{}", true, "id-1");
    const Record job = LastJob();
    EXPECT_EQ(job.recordID + " " + job.recordType + " " + job.recordTopic + " " + job.name + job.description,
              clientKey + " Job V2_WFJobs Transcode");
    EXPECT_EQ(job.recordVersion, 1);
    EXPECT_THAT(job.recordPublicData,
                MatchesRegex(R"(.*"createdDateTime":"....-..-..T..:..:..(\.......)?".*)"));
    Parameters publicData = Json(job.recordPublicData);
    publicData.ClearParameter("createdDateTime");
    EXPECT_EQ(publicData.toJSON(),
              R"({"jobKind":"kind","jobState":"","jobQueue":"c52a7f6e-c32a-45da-8716-c06c79af3a98",)"
              R"("jobQueueName":"","createdBy":"Ada","priority":50,"progress":0,"completedDateTime":""})");
    Parameters privateData = Json(job.recordData);
    privateData.ClearParameter("processingData");
    privateData.ClearParameter("jobRunCaseData");
    EXPECT_EQ(
        privateData.toJSON(),
        R"({"parent":"","clientKey":"","jobMonitorID":"","jobLastState":"","jobEvalTaskKind":"evalKind",)"
        R"("clientMachine":"","requiredWorkerMachine":"","excludedWorkerMachine":"",)"
        R"("storeJobSpecificOutputMetadataInJobMonitor":true,"identity":"{\"identityId\":\"id-1\"}","jobBlueprintData":"{}",)"
        R"("globalConfigContext":"","emailSettingsParams":"{}","failJobOnFirstFailedTask":true})");

    ASSERT_EQ(stores.events->Events().size(), 1U);
    const Record event = stores.events->Events().front();
    EXPECT_EQ(event.recordType + " " + event.recordTopic, "JobCreated V2_WFJobEvents");
    EXPECT_EQ(event.recordData,
              R"({"id":")" + clientKey + R"(","jobQueue":"c52a7f6e-c32a-45da-8716-c06c79af3a98"})");
    EXPECT_NE(event.recordID, clientKey);
    EXPECT_TRUE(stores.events->allDurable);
}

TEST_F(SubmissionFlow, ReadsTheCommonKeysAndTakesAWrongTypeForAbsent) {
    // The request, and what is to stand in the job, or in its description.
    const std::pair<std::string, std::vector<std::string>> rows[] = {
        {R"({"jobQueue":"q","failJobOnFirstFailedTask":true,"clientMachine":"c","requiredWorkerMachine":"r",)"
         R"("excludedWorkerMachine":"e","CompoundJobID":"p","emailSettingsParams":{"emailPort":25},)"
         R"("storeJobSpecificOutputMetadataInJobMonitor":false,"Description":"x"})",
         {R"("jobQueue":"q",)", R"("failJobOnFirstFailedTask":true)", R"("clientMachine":"c",)",
          R"("requiredWorkerMachine":"r",)", R"("excludedWorkerMachine":"e",)", R"("parent":"p",)",
          R"("emailSettingsParams":"{\"emailPort\":25}",)",
          R"("storeJobSpecificOutputMetadataInJobMonitor":false,)", "(x)"}},
        {R"({"jobQueue":7,"failJobOnFirstFailedTask":"true","CompoundJobID":{},"emailSettingsParams":"x"})",
         {R"("jobQueue":"c52a7f6e-c32a-45da-8716-c06c79af3a98",)", R"("failJobOnFirstFailedTask":false)",
          R"("parent":"",)", R"("emailSettingsParams":"{}",)"}},
        {R"({"priority":-5,"description":"y","Description":"x"})", {R"("priority":1,)", "(y)"}},
        {R"({"priority":100,"description":"","Description":"x"})", {R"("priority":100,)", "(x)"}},
        {R"({"priority":101,"description":1,"Description":"x"})", {R"("priority":100,)", "(x)"}},
        {R"({"priority":"7","Description":2})", {R"("priority":50,)", "()"}},
        {R"({"priority":7.0})", {R"("priority":50,)"}},
        {R"({"priority":4294967297})", {R"("priority":50,)"}},
    };
    for (const auto& [request, expected] : rows) {
        Submit(plain, request, false);
        const Record job = LastJob();
        for (const std::string& part : expected) {
            EXPECT_THAT(job.recordPublicData + job.recordData + "(" + job.description + ")",
                        testing::HasSubstr(part));
        }
    }
}

TEST_F(SubmissionFlow, SplitsTheRequestIntoThreeTrees) {
    // Request; processing and run case without the job's directories, blueprint.
    using Row = std::tuple<std::string, std::string, std::string, std::string>;
    const std::string none = R"({"jobParams":{}})";
    const std::string noCapital = R"({"JobParams":{}})";
    const std::string capitalProfile = R"({"JobParams":{"profile":"p"}})";
    const Row rows[] = {
        {R"({"a":2147483648})", R"({"a":2147483648})", R"({"a":2147483648})", "{}"},
        {R"({"jobParams":{"x":1.0},"a":1})", R"({"a":1,"jobParams":{"x":1.0}})", R"({"a":1,"jobParams":{}})",
         R"({"x":1.0})"},
        {R"({"jobParams":[{"x":1},{"y":2}]})", R"({"jobParams":{"x":1}})", none, R"({"x":1})"},
        {R"({"jobParams":[{"x":1},"t"]})", R"({"jobParams":[{"x":1},"t"]})", none, R"([{"x":1},"t"])"},
        {R"({"jobParams":[]})", R"({"jobParams":[]})", none, "[]"},
        {R"({"jobParams":"t"})", R"({"jobParams":"t"})", none, "{}"},
        {R"({"JobParams":{"x":1}})", R"({"JobParams":{"x":1}})", noCapital, R"({"x":1})"},
        {R"({"JobParams":[{"x":1}]})", R"({"JobParams":[{"x":1}]})", noCapital, R"([{"x":1}])"},
        {R"({"JobParams":{"y":2},"jobParams":{"x":1}})", R"({"JobParams":{"y":2},"jobParams":{"x":1}})",
         R"({"JobParams":{"y":2},"jobParams":{}})", R"({"x":1})"},
        {R"({"jobParams":{"profile":"p","x":1}})", none, none, "{}"},
        {R"({"jobParams":[{"profile":"p"},{"x":1}]})", none, none, "{}"},
        {R"({"jobParams":{"profile":5}})", R"({"jobParams":{"profile":5}})", none, R"({"profile":5})"},
        {capitalProfile, capitalProfile, noCapital, R"({"profile":"p"})"},
    };
    const auto withoutDirectories = [this](std::string_view key) {
        Parameters tree = Tree(key);
        tree.ClearParameter("processingControlDirectoryPath");
        tree.ClearParameter("metadataDirectory");
        return tree.toJSON();
    };
    for (const auto& [request, processing, runCase, blueprint] : rows) {
        Submit(request);
        EXPECT_EQ(withoutDirectories("processingData"), processing) << request;
        EXPECT_EQ(withoutDirectories("jobRunCaseData"), runCase) << request;
        EXPECT_EQ(Tree("jobBlueprintData").toJSON(), blueprint) << request;
    }
}

TEST_F(SubmissionFlow, TheJobsDirectoriesReplaceTheClients) {
    const std::string clientKey =
        Submit(R"({"metadataDirectory":"/mine","rootPath":"/jobs","processingControlDirectoryPath":5})");
    EXPECT_EQ(Tree("processingData").toJSON(),
              R"({"metadataDirectory":"/jobs/)" + clientKey +
                  R"(","rootPath":"/jobs","processingControlDirectoryPath":"/jobs/)" + clientKey + R"("})");
    EXPECT_EQ(Tree("jobRunCaseData"), Tree("processingData"));
}

TEST_F(SubmissionFlow, AJobIsAnnouncedOnlyWhenItIsStoredAndStaysWhenThatFails) {
    stores.records->upsertFault = StoreFault::Refuse;
    EXPECT_EQ(TextOf<std::domain_error>([&] { Submit("{}"); }),
              "Transcode - upsert record into Object Store failed");
    stores.records->upsertFault = StoreFault::Throw;
    EXPECT_THROW(Submit("{}"), CommonServices::ObjectStoreException);
    EXPECT_TRUE(stores.events->Events().empty());

    stores.records->upsertFault = StoreFault::None;
    stores.events->appendFault = StoreFault::Refuse;
    const std::string clientKey = Submit("{}");
    EXPECT_EQ(LastJob().recordID, clientKey);
    stores.events->appendFault = StoreFault::Throw;
    EXPECT_THROW(Submit("{}"), CommonServices::ObjectStoreException);
    EXPECT_EQ(stores.records->Records().size(), 2U);
}

}  // namespace
}  // namespace Weftline::Services
