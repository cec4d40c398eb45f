#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "FakeBusTransport.h"
#include "SchedulerService.h"
#include "ServiceInfo.h"

namespace Weftline::Services::Scheduler {
namespace {

namespace Messaging = PlatformAbstraction::Messaging;
using PlatformAbstraction::HTTPMethod;

enum class Kind { Submission, V1, V2 };

/// One message that the service answers, as clients know it.
struct MessageRow {
    Kind kind;
    std::string name;
    HTTPMethod method;
    std::string path;
    std::string description;
    std::vector<std::string> examples;

    bool operator==(const MessageRow&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const MessageRow& row) {
    stream << static_cast<int>(row.kind) << ' ' << row.name << ' ' << static_cast<int>(row.method) << " /"
           << row.path << " \"" << row.description << '"';
    for (const std::string& example : row.examples) {
        stream << " [" << example << ']';
    }
    return stream;
}

// The whole table, in the order of registration.
const std::vector<MessageRow> kMessages = {
    {Kind::Submission,
     "SubmitTranscode",
     HTTPMethod::Post,
     "submitTranscode",
     "Initiate a transcode operation on one or more mobs from metadata source",
     {"SubmitTranscodeSD", "SubmitTranscodeHD", "SubmitTranscodeUHD"}},
    {Kind::Submission,
     "SubmitConsolidate",
     HTTPMethod::Post,
     "submitConsolidate",
     "Initiate a consolidate operation on one or more mobs from metadata source",
     {"SubmitConsolidate", "SubmitConsolidateEx1"}},
    {Kind::Submission,
     "SubmitMixdown",
     HTTPMethod::Post,
     "submitMixdown",
     "Initiate a mixdown operation on one or more mobs from metadata source",
     {"SubmitMixdownSD", "SubmitMixdownHD", "SubmitMixdownUHD"}},
    {Kind::Submission,
     "SubmitRender",
     HTTPMethod::Post,
     "submitRender",
     "Initiate a render operation on one or more mobs from metadata source",
     {"SubmitRenderSD", "SubmitRenderHD", "SubmitRenderUHD"}},
    {Kind::Submission,
     "SubmitExport",
     HTTPMethod::Post,
     "submitExport",
     "Initiate an export operation on a sequence",
     {"SubmitExport"}},
    {Kind::Submission,
     "SubmitDataExtract",
     HTTPMethod::Post,
     "submitDataExtract",
     "Initiate a dataextract operation on one or more mobs from metadata source",
     {"SubmitDataExtractHD"}},
    {Kind::Submission,
     "SubmitProxyCreation",
     HTTPMethod::Post,
     "submitProxyCreation",
     "Initiate a proxy creation operation on one or more mobs from metadata source",
     {"Submit proxy creation using profile id"}},
    {Kind::Submission,
     "SubmitDynamicRelink",
     HTTPMethod::Post,
     "submitDynamicRelink",
     "Initiate a dynamic relink operation on sequence from metadata source",
     {"Dynamic Relink Highest Quality", "Dynamic Relink Specific Resolution"}},
    {Kind::Submission,
     "VerifyAccessToMedia",
     HTTPMethod::Post,
     "verifyAccessToMedia",
     "Verifies access to the mob dependencies",
     {"emptyParams"}},
    {Kind::Submission,
     "SubmitExportQuery",
     HTTPMethod::Post,
     "submitExportQuery",
     "Submit Export Query",
     {"Query Export types by type", "Query Export types by name", "Query Export types by GUID"}},
    {Kind::Submission,
     "SubmitVideoFormatsQuery",
     HTTPMethod::Post,
     "submitVideoFormatsQuery",
     "Returns list of available video formats for specified parameters",
     {"query video formats for parameters", "query video format by legacy vcid",
      "query video format by Tarvale compression string"}},
    {Kind::Submission,
     "SubmitAudioFormatsQuery",
     HTTPMethod::Post,
     "submitAudioFormatsQuery",
     "Returns list of available audio formats for specified filters",
     {"query audio formats for specified filters", "query audio formats by Tarvale compression string"}},
    {Kind::Submission,
     "SubmitSourceAvailabilityQuery",
     HTTPMethod::Post,
     "submitSourceAvailabilityQuery",
     "Submits source availability for each mob",
     {"query source availability"}},
    {Kind::Submission,
     "SubmitMobIDsFromContainerQuery",
     HTTPMethod::Post,
     "submitMobIDsFromContainerQuery",
     "Submit query to get mobIDs in the specified container",
     {"query mobIDs from container"}},
    {Kind::Submission,
     "SubmitSuitableMastersQuery",
     HTTPMethod::Post,
     "submitSuitableMastersQuery",
     "Initiate a submit suitable masters operation on one or more mobs from metadata source",
     {"SubmitSuitableMastersQuery"}},
    {Kind::V1,
     "RemoveObsoleteJobs",
     HTTPMethod::Get,
     "",
     "Purge obsolete jobs from orvik.job.manager service",
     {"RemoveObsoleteJobs"}},
    {Kind::V1,
     "getVideoFormats",
     HTTPMethod::Get,
     "formats/video",
     "Returns list of available video formats for specified parameters",
     {"query video formats for parameters", "query video format by legacy vcid",
      "query video format by Tarvale compression string"}},
    {Kind::V1,
     "getAudioFormats",
     HTTPMethod::Get,
     "formats/audio",
     "Returns list of available audio formats for specified filters",
     {"query audio formats for specified filters", "query audio formats by Tarvale compression string"}},
    {Kind::V1,
     "getColorSpaces",
     HTTPMethod::Get,
     "getColorSpaces",
     "Returns list of available color spaces for specified parameters",
     {"query color space by name string"}},
    {Kind::V1,
     "getS3DModes",
     HTTPMethod::Get,
     "s3dmodes",
     "Returns list of available stereoscopic project types for specified filters",
     {"query stereoscopic project types for specified filters"}},
    {Kind::V1,
     "configureDX",
     HTTPMethod::Post,
     "configureDX",
     "Set DXConnectionURL and start Dolmex",
     {"example 1", "example 2"}},
    {Kind::V1,
     "remoteLogging",
     HTTPMethod::Post,
     "remoteLogging",
     "Make service logging to be turned on/off",
     {"remoteLogging"}},
    {Kind::V2,
     "workerPoolStatus",
     HTTPMethod::Get,
     "workerPoolStatus",
     "Gets the status of the pool of workers that have reported in.",
     {"workerPoolStatus"}},
    {Kind::V1,
     "getExportTypes",
     HTTPMethod::Post,
     "getExportTypes",
     "Returns list of available export types for specified parameters",
     {"query export types by type", "query export types by name", "query export types by GUID"}},
    {Kind::V1,
     "getMediaCreationTypes",
     HTTPMethod::Get,
     "getMediaCreationTypes",
     "Returns list of available media creation types",
     {"query media creation types by name"}},
    {Kind::V1,
     "findJobsEx",
     HTTPMethod::Post,
     "findJobsEx",
     "extended findJobs for client",
     {"find root jobs (no parent id)", "find created by any (no identity filtering)", "find by parent id",
      "find by kind", "find by several kinds", "find Weftline kinds", "find with offset and limit",
      "find with lots of logging"}},
    {Kind::V1,
     "removeJobEx",
     HTTPMethod::Delete,
     "jobs/{clientKey}",
     "remove a job from the job.monitor if it is in a completed state, must specify the clientKey value",
     {"remove a completed job"}},
    {Kind::V1,
     "findExportTypes",
     HTTPMethod::Get,
     "findExportTypes",
     "Find Specific Export Types",
     {"Find Export types by ID obtained via submitExportQuery"}},
    {Kind::V1,
     "findVideoFormats",
     HTTPMethod::Get,
     "findVideoFormats",
     "Find Specific Video formats",
     {"Find Video formats by ID obtained via submitVideoFormatsQuery",
      "Find Video formats by ID with page offset"}},
    {Kind::V1,
     "findAudioFormats",
     HTTPMethod::Get,
     "findAudioFormats",
     "Find Specific Audio formats",
     {"Find Audio formats by ID obtained via submitAudioFormatsQuery"}},
    {Kind::V2,
     "findSourceAvailability",
     HTTPMethod::Get,
     "findSourceAvailability",
     "Find Source Availability result",
     {"Find Source Availability result by ID obtained via submitSourceAvailabilityQuery"}},
    {Kind::V2,
     "findMobIDsFromContainer",
     HTTPMethod::Get,
     "findMobIDsFromContainer",
     "Find MobIDsFromContainer result",
     {"Find MobIDsFromContainer result by ID obtained via submitMobIDsFromContainerQuery"}},
    {Kind::V2,
     "findSuitableMasters",
     HTTPMethod::Get,
     "findSuitableMasters",
     "Find Suitable Masters",
     {"Find Suitable Masters by ID obtained via submitSuitableMastersQuery"}},
    {Kind::V2,
     "getUniqueExportPlugins",
     HTTPMethod::Get,
     "uniqueExportPlugins",
     "Get Unique Export Plugins",
     {"Get Unique Export Plugins by type"}},
    {Kind::V2, "getProfiles", HTTPMethod::Get, "profiles", "Get the list of all profiles", {"get profiles"}},
};

Kind KindOf(const Messaging::ServiceInfo& info, const std::string& name) {
    if (info.IsRegisteredSubmitMessageHandler(name)) {
        return Kind::Submission;
    }
    return info.IsRegisteredMessageHandler(name) ? Kind::V1 : Kind::V2;
}

std::vector<MessageRow> RegisteredMessages() {
    const auto description = Messaging::ConstructServiceInfo();
    description->SetNameRealmVersion("orvik.quillon.processing.scheduler", "test", 2);
    SchedulerService service;
    service.RegisterServiceMessageHandlers(
        description, TestSupport::MakeBusConnection(std::make_shared<TestSupport::FakeBusMessaging>()),
        false);
    const auto& info = dynamic_cast<const Messaging::ServiceInfo&>(*description);
    std::vector<MessageRow> rows;
    for (const auto& registration : info.GetRegistrations()) {
        MessageRow& row = rows.emplace_back(MessageRow{KindOf(info, registration.name),
                                                       registration.name,
                                                       registration.restMethod,
                                                       registration.restPath,
                                                       registration.description,
                                                       {}});
        for (const auto& example : registration.examples) {
            row.examples.push_back(example.label);
        }
    }
    return rows;
}

TEST(HandlerTable, HoldsEachMessageOnceInItsPlaceAndNoOther) {
    EXPECT_THAT(RegisteredMessages(), testing::ElementsAreArray(kMessages));
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
