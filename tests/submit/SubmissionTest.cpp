// What becomes of a submission: the job in the store, its event, and whose it is.

#include <iostream>
#include <stdexcept>
#include <tuple>

#include "handlers/submit/IdentityLookup.h"
#include "handlers/submit/SubmitHandlers.h"
#include "platform/stores/RecordStore.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HandlerFixture.h"

namespace Weftline::Services {
namespace {

using CoreServices::Parameters;
using testing::MatchesRegex;
using testing::StartsWith;
using testing::ThrowsMessage;
using TestSupport::Json;
using TestSupport::ScriptedAnswer;
using TestSupport::StoreFault;

/// An operation without a word of its own, to see what the flow does alone.
class PlainOperation final : public SubmitJobHandler {
public:
    using SubmitJobHandler::SubmitJobHandler;
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override { return {}; }
};

class Submission : public TestSupport::HandlerFixture {
protected:
    /// The client key.
    std::string Submit(SubmitJobHandler& handler, const std::string& request, bool failJobDefault = true,
                       const std::string& identityId = "") {
        const TestSupport::ConsoleCapture quiet(std::cerr);
        const Parameters answer = handler.SubmitJob("kind", "evalKind", "Transcode", failJobDefault,
                                                    Json(request), TestSupport::MakeContext(bus, identityId));
        std::string clientKey;
        EXPECT_TRUE(answer.GetParameter("clientKey", clientKey));
        EXPECT_EQ(answer.toJSON(), R"({"clientKey":")" + clientKey + "\"}");
        return clientKey;
    }
    std::string Submit(const std::string& request) { return Submit(plain, request); }

    /// The record of the job that was stored last.
    Record LastJob() const { return stores.records->Records().back(); }
    /// One of the JSON texts in the private data of that job.
    Parameters Tree(std::string_view key) const {
        std::string text;
        EXPECT_TRUE(Json(LastJob().recordData).GetParameter(key, text)) << key;
        return Json(text);
    }

    void StoreProfile(const std::string& id, const std::string& data, const std::string& type = "Profile") {
        Record record(type, 1, "V2_WFProfiles");
        record.recordID = id;
        record.recordData = data;
        ASSERT_TRUE(stores.records->UpsertOne(record));
    }

    PlainOperation plain{connection};
    Scheduler::SubmitTranscodeHandler transcode{connection};
};

TEST_F(Submission, AnEmptyRequestIsStoredWithDefaultsAndAnnounced) {
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

TEST_F(Submission, ReadsTheCommonKeysAndTakesAWrongTypeForAbsent) {
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

TEST_F(Submission, SplitsTheRequestIntoThreeTrees) {
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

TEST_F(Submission, TheJobsDirectoriesReplaceTheClients) {
    const std::string clientKey =
        Submit(R"({"metadataDirectory":"/mine","rootPath":"/jobs","processingControlDirectoryPath":5})");
    EXPECT_EQ(Tree("processingData").toJSON(),
              R"({"metadataDirectory":"/jobs/)" + clientKey +
                  R"(","rootPath":"/jobs","processingControlDirectoryPath":"/jobs/)" + clientKey + R"("})");
    EXPECT_EQ(Tree("jobRunCaseData"), Tree("processingData"));
}

TEST_F(Submission, AJobIsAnnouncedOnlyWhenItIsStoredAndStaysWhenThatFails) {
    stores.records->upsertFault = StoreFault::Refuse;
    EXPECT_THAT([&] { Submit("{}"); },
                ThrowsMessage<std::domain_error>("Transcode - upsert record into Object Store failed"));
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

TEST_F(Submission, AProfilesSettingsAreLaidOverTheRequest) {
    StoreProfile("p", R"({"name":"P","type":"Proxy","SkipVideo":{"value":false,"label":"Skip video"},)"
                      R"("Rate":{"Numerator":{"value":24000,"label":"N"}},"NoLabel":{"value":1},)"
                      R"("Added":{"value":"new","label":"L"}})");
    Scheduler::SubmitProxyCreationHandler proxyCreation{connection};
    for (SubmitJobHandler* handler : std::initializer_list<SubmitJobHandler*>{&transcode, &proxyCreation}) {
        Submit(*handler, R"({"jobParams":{"profile":"p","SkipVideo":true,"Mine":[1,"two"]}})");
        EXPECT_EQ(Tree("jobBlueprintData").toJSON(),
                  R"({"profile":"p","SkipVideo":false,"Mine":[1,"two"],"Rate":{"Numerator":24000},)"
                  R"("NoLabel":{},"Added":"new"})");
        EXPECT_EQ(Tree("processingData").GetChildParameters("jobParams"), Tree("jobBlueprintData"));
    }
}

TEST_F(Submission, AProfileThatCannotBeReadFailsTheSubmission) {
    StoreProfile("job", "{}", "Job");
    StoreProfile("broken", "{");
    const std::tuple<std::string, std::string> rows[] = {
        {"absent", "[absent] Unable to find record in Object Store"},
        {R"(a\u0000b)", R"([a\x00b] Unable to find record in Object Store)"},
        {"job", "DataRecord::BuildFromRecord() incoming record RecordType mismatch Incoming: Job"},
        {"broken", "JSON: "},
    };
    for (const auto& [id, text] : rows) {
        EXPECT_THAT([&] { Submit(transcode, R"({"jobParams":[{"profile":")" + id + R"("}]})"); },
                    ThrowsMessage<std::exception>(StartsWith(text)));
    }
    EXPECT_EQ(stores.records->Records().size(), 2U);
    EXPECT_TRUE(stores.events->Events().empty());
}

TEST_F(Submission, NoProfileIsReadWhereNoneIsMeant) {
    Scheduler::SubmitConsolidateHandler consolidate{connection};
    Submit(consolidate, R"({"jobParams":{"profile":"absent","x":1}})");
    EXPECT_EQ(Tree("jobBlueprintData").toJSON(), "{}");
    Submit(transcode, R"({"JobParams":{"profile":"absent"}})");
    Submit(transcode, R"({"jobParams":{"profile":7}})");
    EXPECT_EQ(stores.records->reads, 0U);
}

TEST_F(Submission, AsksTheIdentityServiceWhoCallsOnceAndWaitsASecond) {
    bus->On("findPrincipal", Results(R"({"entity":{"displayName":"Ada"}})"));
    bus->On("findPrincipal", Results(R"({"entity":{"displayName":""}})"));
    EXPECT_EQ(FetchDisplayNameFromIdentity(Json(R"({"identityId":"","other":1})"), bus), "Ada");
    EXPECT_EQ(Sent(), std::vector<std::string>{R"(orvik.iam/global/3/findPrincipal {"entity":{"id":""}})"});
    EXPECT_EQ(bus->Waits(), std::vector<std::int64_t>{1'000'000});
    EXPECT_EQ(FetchDisplayNameFromIdentity(Json(R"({"identityId":"x"})"), bus), "") << "an empty name is one";
}

TEST_F(Submission, EveryFailureOfThatEndsInOneLineAndNoName) {
    const std::string noIdentity = "invalid identity";
    const std::string badAnswer = "invalid identity response";
    const auto ada = Json(R"({"entity":{"displayName":"Ada"}})");
    const std::tuple<std::string, ScriptedAnswer, std::string> rows[] = {
        {"{}", Results("{}"), noIdentity},
        {R"({"identityId":5})", Results("{}"), noIdentity},
        {R"({"identityId":"never answered"})", ScriptedAnswer::Never(), "query timed out"},
        {R"({"identityId":"given up"})", ScriptedAnswer::TimedOut(), "query timed out"},
        {R"({"identityId":"late"})", ScriptedAnswer::Late(ada), "query timed out"},
        {R"({"identityId":"error"})", ScriptedAnswer::Error("CODE", "what happened"), "CODE : what happened"},
        {R"({"identityId":"bare error"})", ScriptedAnswer::ErrorWithoutDetails(), "query error"},
        {R"({"identityId":"no JSON"})", ScriptedAnswer::Text("<html>"), "query error"},
        {R"({"identityId":"no entity"})", Results("{}"), badAnswer},
        {R"({"identityId":"entity is no tree"})", Results(R"({"entity":"Ada"})"), badAnswer},
        {R"({"identityId":"no name"})", Results(R"({"entity":{}})"), badAnswer},
        {R"({"identityId":"name is no text"})", Results(R"({"entity":{"displayName":1}})"), badAnswer},
        {R"({"identityId":"x"})", ScriptedAnswer::Throws([] { throw std::domain_error("no bus"); }),
         "no bus"},
        {R"({"identityId":"x"})", ScriptedAnswer::Throws([] { throw 42; }), "unknown error"},
    };
    for (const auto& [identity, answer, text] : rows) {
        bus->Restart("findPrincipal", answer);
        const TestSupport::ConsoleCapture console(std::cerr);
        EXPECT_EQ(FetchDisplayNameFromIdentity(Json(identity), bus), std::nullopt) << identity;
        EXPECT_EQ(console.Text(), "FetchDisplayNameFromIdentity: Failed to get display name: " + text + "\n");
        EXPECT_EQ(bus->CountSent(), text == noIdentity ? 0U : 1U) << identity;
    }
}

}  // namespace
}  // namespace Weftline::Services
