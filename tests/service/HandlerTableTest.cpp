#include <map>
#include <set>

#include "platform/messaging/ServiceInfo.h"
#include "service/SchedulerService.h"
#include "tests/support/HandlerFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

namespace Messaging = PlatformAbstraction::Messaging;
using PlatformAbstraction::HTTPMethod;

// The whole table, in the order of registration: kind, name, method, path and number of examples; with a
// submission the kind of its job, behind "orvik.quillon.".
constexpr char kMessages[] = R"(
submission SubmitTranscode POST /submitTranscode 3 transcode
submission SubmitConsolidate POST /submitConsolidate 2 consolidate
submission SubmitMixdown POST /submitMixdown 3 mixdown
submission SubmitRender POST /submitRender 3 render
submission SubmitExport POST /submitExport 1 export
submission SubmitDataExtract POST /submitDataExtract 1 dataextract
submission SubmitProxyCreation POST /submitProxyCreation 1 proxycreation
submission SubmitDynamicRelink POST /submitDynamicRelink 2 metadata.dynamicrelink
submission VerifyAccessToMedia POST /verifyAccessToMedia 1 metadata.verifyaccess
submission SubmitExportQuery POST /submitExportQuery 3 metadata.query.export
submission SubmitVideoFormatsQuery POST /submitVideoFormatsQuery 3 metadata.query.video
submission SubmitAudioFormatsQuery POST /submitAudioFormatsQuery 2 metadata.query.audio
submission SubmitSourceAvailabilityQuery POST /submitSourceAvailabilityQuery 1 metadata.sourceavailability
submission SubmitMobIDsFromContainerQuery POST /submitMobIDsFromContainerQuery 1 metadata.mobidsfromcontainer
submission SubmitSuitableMastersQuery POST /submitSuitableMastersQuery 1 metadata.query.suitablemasters
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

TEST(HandlerTable, HoldsEachMessageOnceInItsPlaceAndNoOther) {
    const auto description = Messaging::ConstructServiceInfo();
    description->SetNameRealmVersion("orvik.quillon.processing.scheduler", "test", 2);
    const auto bus = std::make_shared<TestSupport::FakeBusMessaging>();
    ASSERT_TRUE(SchedulerService().RegisterServiceMessageHandlers(description,
                                                                  TestSupport::MakeConnection(bus), false));
    const auto& info = dynamic_cast<const Messaging::ServiceInfo&>(*description);
    const std::map<HTTPMethod, std::string> methods = {
        {HTTPMethod::Get, " GET /"}, {HTTPMethod::Post, " POST /"}, {HTTPMethod::Delete, " DELETE /"}};
    std::string messages = "\n";
    for (const auto& message : info.GetRegistrations()) {
        const bool isSubmission = info.IsRegisteredSubmitMessageHandler(message.name);
        messages += isSubmission                                    ? "submission "
                    : info.IsRegisteredMessageHandler(message.name) ? "v1 "
                                                                    : "v2 ";
        messages += message.name + methods.at(message.restMethod) + message.restPath + " " +
                    std::to_string(message.examples.size());
        if (isSubmission) {
            const std::string kind = info.GetSubmitOpJobs().at(message.name).jobKind;
            EXPECT_THAT(kind, testing::StartsWith("orvik.quillon."));
            messages += " " + kind.substr(std::string("orvik.quillon.").size());
        }
        messages += "\n";
        EXPECT_NE(message.description, "") << message.name;
        std::set<std::string> labels;
        for (const auto& example : message.examples) {
            labels.insert(example.label);
        }
        EXPECT_EQ(labels.size(), message.examples.size()) << message.name;
    }
    EXPECT_EQ(messages, kMessages);
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
