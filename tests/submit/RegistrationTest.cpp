#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "HandlerDocumentation.h"
#include "SubmitAudioFormatsQueryHandler.h"
#include "SubmitConsolidateHandler.h"
#include "SubmitDataExtractHandler.h"
#include "SubmitDynamicRelinkHandler.h"
#include "SubmitExportHandler.h"
#include "SubmitExportQueryHandler.h"
#include "SubmitMixdownHandler.h"
#include "SubmitMobIDsFromContainerQueryHandler.h"
#include "SubmitProxyCreationHandler.h"
#include "SubmitRenderHandler.h"
#include "SubmitSourceAvailabilityQueryHandler.h"
#include "SubmitSuitableMastersQueryHandler.h"
#include "SubmitTranscodeHandler.h"
#include "SubmitVerifyAccessHandler.h"
#include "SubmitVideoFormatsQueryHandler.h"

namespace Weftline::Services::Scheduler {
namespace {

using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;

template <typename Handler>
RegistrationParams RegistrationOf() {
    return Handler(nullptr).GetRegistrationParams();
}

/// The name of a document for the envelope around it, a whole tree, or "..." for a tree that another test
/// looks at.
void ExpectExample(const Parameters& request, const std::string& expected) {
    if (expected.starts_with("IDR_")) {
        EXPECT_EQ(request, BuildDocumentedExample(expected)) << expected;
    } else if (expected != "...") {
        EXPECT_EQ(request.toJSON(), expected);
    }
}

// All the rest of the registrations is seen where all handlers are registered.
TEST(Registration, EachOperationShowsItsExamples) {
    struct Row {
        RegistrationParams registration;
        std::vector<std::string> examples;
    };
    const Row rows[] = {
        {RegistrationOf<SubmitTranscodeHandler>(),
         {"IDR_TRANSCODE_SD", "IDR_TRANSCODE_HD", "IDR_TRANSCODE_UHD"}},
        {RegistrationOf<SubmitConsolidateHandler>(), {"...", "IDR_CONSOLIDATE_EX1"}},
        {RegistrationOf<SubmitMixdownHandler>(), {"IDR_MIXDOWN_SD", "IDR_MIXDOWN_HD", "IDR_MIXDOWN_UHD"}},
        {RegistrationOf<SubmitRenderHandler>(),
         {"IDR_VIDEO_PRECOMPUTE_SD", "IDR_VIDEO_PRECOMPUTE_HD", "IDR_VIDEO_PRECOMPUTE_UHD"}},
        {RegistrationOf<SubmitExportHandler>(), {"..."}},
        {RegistrationOf<SubmitDataExtractHandler>(), {"IDR_DATAEXTRACT_HD"}},
        {RegistrationOf<SubmitProxyCreationHandler>(), {"..."}},
        {RegistrationOf<SubmitDynamicRelinkHandler>(),
         {"IDR_DR_HIGHEST_QUALITY", "IDR_DR_SPECIFIC_RESOLUTION"}},
        {RegistrationOf<SubmitVerifyAccessHandler>(), {"{}"}},
        {RegistrationOf<SubmitExportQueryHandler>(),
         {R"({"type":"LXA"})", R"({"name":"MXF OP1a"})",
          R"({"GUID":"D49F75BA-4965-4CFA-9D11-CD87206287E0"})"}},
        {RegistrationOf<SubmitVideoFormatsQueryHandler>(),
         {R"({"RasterWidth":1280,"RasterHeight":720,)"
          R"("ColorSpace":"0xdab8b683-0x8476-0x4478-0x8f6e-0x2da6-0xf50d-0xe395","RateNumerator":60000,)"
          R"("RateDenominator":1001,"Progressive":true,"CompressionFamily":"Ravex HQX",)"
          R"("EncodingName":"Ravex HQX","Preset":"ravex/hr/1271/422"})",
          R"({"LegacyVCID":1242})", R"({"TarvaleCompression":"XAVC UHD Intra CBG Class 300 59.94"})"}},
        {RegistrationOf<SubmitAudioFormatsQueryHandler>(),
         {R"({"FileFormat":"FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60","SampleRate":48000,"BitsPerSample":24})",
          R"({"TarvaleCompression":"Uncompressed PCM 24 bit","SampleRate":96000})"}},
        {RegistrationOf<SubmitSourceAvailabilityQueryHandler>(), {"IDR_SOURCE_AVAILABILITY"}},
        {RegistrationOf<SubmitMobIDsFromContainerQueryHandler>(),
         {R"({"CompositionMetadataFilePath":"<<< INPUT METADATA FILE >>>"})"}},
        {RegistrationOf<SubmitSuitableMastersQueryHandler>(), {"IDR_SUBMIT_SUITABLE_MASTERS_QUERY"}},
    };
    for (const auto& [registration, examples] : rows) {
        SCOPED_TRACE(registration.name);
        ASSERT_EQ(registration.examples.size(), examples.size());
        for (std::size_t n = 0; n < examples.size(); ++n) {
            ExpectExample(registration.examples[n].request, examples[n]);
        }
    }
}

/// The value under the key, which must be a UNC path: checked, and replaced so that the rest can be compared.
void ReplacePath(Parameters& tree, const std::string& key) {
    std::string path;
    EXPECT_TRUE(tree.GetParameter(key, path)) << key;
    EXPECT_TRUE(path.starts_with("\\\\") && path.size() > 2 && path[2] != '\\') << path;
    tree.SetParameter(key, "UNC");
}

TEST(Registration, ConsolidateAndExportShowTheirOwnExamples) {
    Parameters consolidate = RegistrationOf<SubmitConsolidateHandler>().examples.at(0).request;
    Parameters jobParams = consolidate.GetChildParameters("JobParams");
    ReplacePath(jobParams, "TargetVideoDirectory");
    ReplacePath(jobParams, "TargetAudioDirectory");
    consolidate.SetChildParameters("JobParams", jobParams);
    ReplacePath(consolidate, "InputMetadataFilePath");
    const std::string email = R"("emailSettingsParams":)" + BuildEmailSettingsExample().toJSON() + "}";
    EXPECT_EQ(
        consolidate.toJSON(),
        R"({"InputMetadataFilePath":"UNC","InputMobIDs":[)"
        R"("060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a80",)"
        R"("060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a81"],"rootPath":"C:\\temp",)"
        R"("JobParams":{"TargetVideoDirectory":"UNC","TargetAudioDirectory":"UNC","SkipVideo":false,)"
        R"("SkipAudio":false,"SkipData":true,"HandleLength_optional":2,)"
        R"("useMachineAsWorker_optional":false},)" +
            email);

    Parameters exported = RegistrationOf<SubmitExportHandler>().examples.at(0).request;
    ReplacePath(exported, "InputMetadataFilePath");
    ReplacePath(exported, "TargetDirectory");
    EXPECT_EQ(exported.toJSON(), R"({"InputMetadataFilePath":"UNC","InputMobIDs":[)"
                                 R"("060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a81"],)"
                                 R"("TargetDirectory":"UNC","useMachineAsWorker_optional":false,)" +
                                     email);
}

TEST(Registration, ProxyCreationShowsAQuotedFolderAndAProfile) {
    const Parameters example = RegistrationOf<SubmitProxyCreationHandler>().examples.at(0).request;
    Parameters jobParams = example.GetChildParameters("jobParams");
    EXPECT_EQ(example, BuildJobExample(jobParams));
    std::string folder;
    ASSERT_TRUE(jobParams.GetParameter("targetFolder", folder));
    EXPECT_TRUE(folder.starts_with("\"\\\\\\\\") && folder.ends_with('"')) << folder;
    jobParams.SetParameter("targetFolder", "");
    EXPECT_EQ(jobParams.toJSON(),
              R"({"inputMetadataFile":"<<< INPUT METADATA FILE >>>",)"
              R"("inputMobIDs":["<<< INPUT MOB >>>","<<< INPUT MOB >>>"],"targetFolder":"",)"
              R"("profile":"7394f07d-ea1a-4a6c-b8b0-f9b9c9751fe2"})");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
