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
    std::string jobKind;  // behind "orvik.quillon."
    std::string evalTaskKind;
    std::string jobName;
    bool failJobDefault;
};

const std::vector<SubmissionRow> kSubmissions = {
    {"SubmitTranscode", "transcode", "task.metadata.transcode", "Transcode", true},
    {"SubmitConsolidate", "consolidate", "task.metadata.consolidate", "Consolidate", true},
    {"SubmitMixdown", "mixdown", "task.metadata.eval.mixdown", "Mixdown", true},
    {"SubmitRender", "render", "task.metadata.render", "Render", true},
    {"SubmitExport", "export", "task.metadata.export", "Export", true},
    {"SubmitDataExtract", "dataextract", "task.metadata.dataextract", "DataExtract", true},
    {"SubmitProxyCreation", "proxycreation", "task.metadata.proxycreation", "ProxyCreation", false},
    {"SubmitDynamicRelink", "metadata.dynamicrelink", "task.metadata.dynamicrelink", "DynamicRelink", true},
    {"VerifyAccessToMedia", "metadata.verifyaccess", "task.metadata.verifyaccess", "VerifyAccessToMedia",
     true},
    {"SubmitExportQuery", "metadata.query.export", "task.metadata.query.exporttypes", "ExportQuery", true},
    {"SubmitVideoFormatsQuery", "metadata.query.video", "task.metadata.query.video", "VideoFormatsQuery",
     true},
    {"SubmitAudioFormatsQuery", "metadata.query.audio", "task.metadata.query.audio", "AudioFormatsQuery",
     true},
    {"SubmitSourceAvailabilityQuery", "metadata.sourceavailability", "task.metadata.sourceavailability",
     "SourceAvailability", true},
    {"SubmitMobIDsFromContainerQuery", "metadata.mobidsfromcontainer", "task.metadata.mobidsfromcontainer",
     "MobIDsFromContainer", true},
    {"SubmitSuitableMastersQuery", "metadata.query.suitablemasters", "task.metadata.query.suitablemasters",
     "SuitableMastersQuery", true},
};

TEST(SchedulerService, RegistersEachSubmissionWithItsJob) {
    const auto description = Messaging::ConstructServiceInfo();
    description->SetNameRealmVersion("orvik.quillon.processing.scheduler", "test", 2);
    SchedulerService service;
    ASSERT_TRUE(service.RegisterServiceMessageHandlers(
        description, TestSupport::MakeBusConnection(std::make_shared<TestSupport::FakeBusMessaging>()),
        false));

    const auto& info = dynamic_cast<const Messaging::ServiceInfo&>(*description);
    ASSERT_EQ(info.GetSubmitOpJobs().size(), kSubmissions.size());
    for (const auto& expected : kSubmissions) {
        SCOPED_TRACE(expected.name);
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
