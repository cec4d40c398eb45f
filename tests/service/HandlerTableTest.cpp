#include <fstream>
#include <sstream>

#include "Core/src/SubmitOperations.h"
#include "tests/service/DescribedScheduler.h"

namespace Weftline::Services::Scheduler {
namespace {

using PlatformAbstraction::Messaging::SubmitOpJobInfo;

// The whole table, in the order of registration: kind, name, method, path and number of examples. A
// submission goes on with its job: kind, evaluation, name, the media task and the name of that in reports,
// whether the job goes on after a failed task, and whether it may name a profile.
constexpr char kMessages[] = R"(
submission SubmitTranscode POST /submitTranscode 3 transcode transcode Transcode transcode "Transcode" profile
submission SubmitConsolidate POST /submitConsolidate 2 consolidate consolidate Consolidate consolidate "Consolidate"
submission SubmitMixdown POST /submitMixdown 3 mixdown eval.mixdown Mixdown mixdown "Mixdown"
submission SubmitRender POST /submitRender 3 render render Render render.video "Video precompute"
submission SubmitExport POST /submitExport 1 export export Export export "Export"
submission SubmitDataExtract POST /submitDataExtract 1 dataextract dataextract DataExtract dataextract "DataExtract"
submission SubmitProxyCreation POST /submitProxyCreation 1 proxycreation proxycreation ProxyCreation proxycreation "ProxyCreation" goes-on profile
submission SubmitDynamicRelink POST /submitDynamicRelink 2 metadata.dynamicrelink dynamicrelink DynamicRelink
submission VerifyAccessToMedia POST /verifyAccessToMedia 1 metadata.verifyaccess verifyaccess VerifyAccessToMedia
submission SubmitExportQuery POST /submitExportQuery 3 metadata.query.export query.exporttypes ExportQuery
submission SubmitVideoFormatsQuery POST /submitVideoFormatsQuery 3 metadata.query.video query.video VideoFormatsQuery
submission SubmitAudioFormatsQuery POST /submitAudioFormatsQuery 2 metadata.query.audio query.audio AudioFormatsQuery
submission SubmitSourceAvailabilityQuery POST /submitSourceAvailabilityQuery 1 metadata.sourceavailability sourceavailability SourceAvailability
submission SubmitMobIDsFromContainerQuery POST /submitMobIDsFromContainerQuery 1 metadata.mobidsfromcontainer mobidsfromcontainer MobIDsFromContainer
submission SubmitSuitableMastersQuery POST /submitSuitableMastersQuery 1 metadata.query.suitablemasters query.suitablemasters SuitableMastersQuery
v1 RemoveObsoleteJobs GET / 1
v1 getVideoFormats GET /formats/video 3
v1 getAudioFormats GET /formats/audio 2
v1 getColorSpaces GET /getColorSpaces 1
v1 getS3DModes GET /s3dmodes 1
v1 configureDX POST /configureDX 2
v1 remoteLogging POST /remoteLogging 1
v2 workerPoolStatus GET /workerPoolStatus 1
v1 getExportTypes POST /getExportTypes 3
v1 getMediaCreationTypes GET /getMediaCreationTypes 1
v1 findJobsEx POST /findJobsEx 8
v1 removeJobEx DELETE /jobs/{clientKey} 1
v1 findExportTypes GET /findExportTypes 1
v1 findVideoFormats GET /findVideoFormats 2
v1 findAudioFormats GET /findAudioFormats 1
v2 findSourceAvailability GET /findSourceAvailability 1
v2 findMobIDsFromContainer GET /findMobIDsFromContainer 1
v2 findSuitableMasters GET /findSuitableMasters 1
v2 getUniqueExportPlugins GET /uniqueExportPlugins 1
v2 getProfiles GET /profiles 1
)";

std::string Behind(std::string_view prefix, std::string_view text) {
    EXPECT_TRUE(text.starts_with(prefix)) << text;
    return " " + std::string(text.substr(prefix.size()));
}

std::string DescribeJob(const SubmitOpJobInfo& job) {
    const SubmitOperations::Row* const row = SubmitOperations::FindByJobKind(job.jobKind);
    EXPECT_EQ(row, SubmitOperations::FindByEvalTaskKind(job.evalTaskKind)) << job.jobKind;
    std::string text = Behind("orvik.quillon.", job.jobKind) +
                       Behind("orvik.quillon.task.metadata.", job.evalTaskKind) + " " + job.name;
    if (!row->mediaTask.kind.empty()) {
        EXPECT_EQ(row, SubmitOperations::FindByMediaTaskKind(row->mediaTask.kind));
        text += Behind("orvik.quillon.task.", row->mediaTask.kind) + " \"" +
                std::string(TaskDisplayName(row->mediaTask.kind)) + "\"";
    }
    return text + (job.failJobDefault ? "" : " goes-on") + (row->mayNameProfile ? " profile" : "");
}

TEST(HandlerTable, HoldsEachMessageOnceInItsPlaceAndNoOther) {
    const auto info = DescribeScheduler();
    std::ostringstream messages;
    for (const auto& [name, description, examples, path, method, takesAway] : info->GetRegistrations()) {
        const bool isSubmission = info->IsRegisteredSubmitMessageHandler(name);
        messages << (isSubmission                             ? "\nsubmission "
                     : info->IsRegisteredMessageHandler(name) ? "\nv1 "
                                                              : "\nv2 ")
                 << name << " " << PlatformAbstraction::MethodName(method) << " /" << path << " "
                 << examples.size() << (isSubmission ? DescribeJob(info->GetSubmitOpJobs().at(name)) : "");
        EXPECT_NE(description, "") << name;
    }
    EXPECT_EQ(messages.str() + "\n", kMessages);
}

TEST(HandlerTable, TheReadmesTableOfSubmissionsIsThatOfTheOperations) {
    std::string media, metadata, questions;
    for (const SubmitOperations::Row* operation : SubmitOperations::kAll) {
        std::string& paths = !operation->mediaTask.kind.empty()      ? media
                             : operation->message.ends_with("Query") ? questions
                                                                     : metadata;
        paths.append(paths.empty() ? "`/" : ", `/").append(operation->restPath).append("`");
    }
    std::ostringstream readme;
    readme << std::ifstream(QUILLON_README).rdbuf();
    EXPECT_THAT(
        readme.str(),
        testing::HasSubstr("| path | job |\n|---|---|\n| " + media + " | media work |\n| " + metadata +
                           " | work on metadata |\n| " + questions + " | questions, answered later |\n\n"));
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
