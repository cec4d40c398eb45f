#include "SchedulerService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "FakeBusTransport.h"
#include "ServiceInfo.h"

namespace Weftline::Services::Scheduler {
namespace {

namespace Messaging = PlatformAbstraction::Messaging;

struct SubmissionRow {
    std::string name;
    std::string restPath;
    std::string jobKind;  // behind "orvik.quillon."
    std::string evalTaskKind;
    std::string jobName;
    bool failJobDefault;
};

const std::vector<SubmissionRow> kSubmissions = {
    {"SubmitTranscode", "submitTranscode", "transcode", "task.metadata.transcode", "Transcode", true},
    {"SubmitConsolidate", "submitConsolidate", "consolidate", "task.metadata.consolidate", "Consolidate",
     true},
    {"SubmitMixdown", "submitMixdown", "mixdown", "task.metadata.eval.mixdown", "Mixdown", true},
    {"SubmitRender", "submitRender", "render", "task.metadata.render", "Render", true},
    {"SubmitExport", "submitExport", "export", "task.metadata.export", "Export", true},
    {"SubmitDataExtract", "submitDataExtract", "dataextract", "task.metadata.dataextract", "DataExtract",
     true},
    {"SubmitProxyCreation", "submitProxyCreation", "proxycreation", "task.metadata.proxycreation",
     "ProxyCreation", false},
    {"SubmitDynamicRelink", "submitDynamicRelink", "metadata.dynamicrelink", "task.metadata.dynamicrelink",
     "DynamicRelink", true},
    {"VerifyAccessToMedia", "verifyAccessToMedia", "metadata.verifyaccess", "task.metadata.verifyaccess",
     "VerifyAccessToMedia", true},
    {"SubmitExportQuery", "submitExportQuery", "metadata.query.export", "task.metadata.query.exporttypes",
     "ExportQuery", true},
    {"SubmitVideoFormatsQuery", "submitVideoFormatsQuery", "metadata.query.video",
     "task.metadata.query.video", "VideoFormatsQuery", true},
    {"SubmitAudioFormatsQuery", "submitAudioFormatsQuery", "metadata.query.audio",
     "task.metadata.query.audio", "AudioFormatsQuery", true},
    {"SubmitSourceAvailabilityQuery", "submitSourceAvailabilityQuery", "metadata.sourceavailability",
     "task.metadata.sourceavailability", "SourceAvailability", true},
    {"SubmitMobIDsFromContainerQuery", "submitMobIDsFromContainerQuery", "metadata.mobidsfromcontainer",
     "task.metadata.mobidsfromcontainer", "MobIDsFromContainer", true},
    {"SubmitSuitableMastersQuery", "submitSuitableMastersQuery", "metadata.query.suitablemasters",
     "task.metadata.query.suitablemasters", "SuitableMastersQuery", true},
};

TEST(SchedulerService, RegistersEachHandlerInItsPlaceWithWhatBelongsToIt) {
    const auto description = Messaging::ConstructServiceInfo();
    description->SetNameRealmVersion("orvik.quillon.processing.scheduler", "test", 2);
    SchedulerService service;
    ASSERT_TRUE(service.RegisterServiceMessageHandlers(
        description, TestSupport::MakeBusConnection(std::make_shared<TestSupport::FakeBusMessaging>()),
        false));

    const auto& info = dynamic_cast<const Messaging::ServiceInfo&>(*description);
    EXPECT_EQ(info.GetSubmitMessageHandlers().size(), kSubmissions.size());
    EXPECT_EQ(info.GetMessageHandlers().size(), 0U);
    EXPECT_EQ(info.GetMessageHandlersV2().size(), 0U);
    ASSERT_EQ(info.GetRegistrations().size(), kSubmissions.size());
    for (std::size_t place = 0; place < kSubmissions.size(); ++place) {
        const auto& expected = kSubmissions[place];
        SCOPED_TRACE(expected.name);
        const auto& registration = info.GetRegistrations()[place];
        EXPECT_EQ(registration.name, expected.name);
        EXPECT_EQ(registration.restPath, expected.restPath);
        EXPECT_EQ(registration.restMethod, PlatformAbstraction::HTTPMethod::Post);
        ASSERT_EQ(info.GetSubmitOpJobs().count(expected.name), 1U);
        const auto& job = info.GetSubmitOpJobs().at(expected.name);
        EXPECT_EQ(job.jobKind, "orvik.quillon." + expected.jobKind);
        EXPECT_EQ(job.evalTaskKind, "orvik.quillon." + expected.evalTaskKind);
        EXPECT_EQ(job.name, expected.jobName);
        EXPECT_EQ(job.failJobDefault, expected.failJobDefault);
    }
}

TEST(SchedulerService, IsNamedAndHasAnEmptyTableOfErrors) {
    const auto description = Messaging::ConstructServiceInfo();
    description->AssignErrorCodes({{"OLD", "", ""}});
    SchedulerService service;
    EXPECT_EQ(service.GetServiceName(), "orvik.quillon.processing.scheduler");
    EXPECT_EQ(service.GetServiceVersion(), 2);
    EXPECT_TRUE(service.RegisterErrors(description));
    ASSERT_TRUE(description->m_pErrorCodes);
    EXPECT_TRUE(description->m_pErrorCodes->empty());
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
