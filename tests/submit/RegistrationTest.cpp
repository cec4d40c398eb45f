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

/// "<label>: " and what stands behind it: the name of a document for the envelope around it, a whole tree, or
/// "..." for a tree that another test looks at.
void ExpectExample(const PlatformAbstraction::MessageExample& example, const std::string& expected) {
    const std::size_t colon = expected.find(": ");
    EXPECT_EQ(example.label, expected.substr(0, colon));
    const std::string tree = expected.substr(colon + 2);
    if (tree.starts_with("IDR_")) {
        EXPECT_EQ(example.request, BuildDocumentedExample(tree)) << tree;
    } else if (tree != "...") {
        EXPECT_EQ(example.request.toJSON(), tree);
    }
}

// That each is found under its name and path is seen where all handlers are registered.
TEST(Registration, EachOperationDescribesItselfAndItsExamples) {
    const std::string onMobs = " operation on one or more mobs from metadata source";
    struct Row {
        RegistrationParams registration;
        std::string description;
        std::vector<std::string> examples;
    };
    const Row rows[] = {
        {RegistrationOf<SubmitTranscodeHandler>(),
         "Initiate a transcode" + onMobs,
         {"SubmitTranscodeSD: IDR_TRANSCODE_SD", "SubmitTranscodeHD: IDR_TRANSCODE_HD",
          "SubmitTranscodeUHD: IDR_TRANSCODE_UHD"}},
        {RegistrationOf<SubmitConsolidateHandler>(),
         "Initiate a consolidate" + onMobs,
         {"SubmitConsolidate: ...", "SubmitConsolidateEx1: IDR_CONSOLIDATE_EX1"}},
        {RegistrationOf<SubmitMixdownHandler>(),
         "Initiate a mixdown" + onMobs,
         {"SubmitMixdownSD: IDR_MIXDOWN_SD", "SubmitMixdownHD: IDR_MIXDOWN_HD",
          "SubmitMixdownUHD: IDR_MIXDOWN_UHD"}},
        {RegistrationOf<SubmitRenderHandler>(),
         "Initiate a render" + onMobs,
         {"SubmitRenderSD: IDR_VIDEO_PRECOMPUTE_SD", "SubmitRenderHD: IDR_VIDEO_PRECOMPUTE_HD",
          "SubmitRenderUHD: IDR_VIDEO_PRECOMPUTE_UHD"}},
        {RegistrationOf<SubmitExportHandler>(),
         "Initiate an export operation on a sequence",
         {"SubmitExport: ..."}},
        {RegistrationOf<SubmitDataExtractHandler>(),
         "Initiate a dataextract" + onMobs,
         {"SubmitDataExtractHD: IDR_DATAEXTRACT_HD"}},
        {RegistrationOf<SubmitProxyCreationHandler>(),
         "Initiate a proxy creation" + onMobs,
         {"Submit proxy creation using profile id: ..."}},
        {RegistrationOf<SubmitDynamicRelinkHandler>(),
         "Initiate a dynamic relink operation on sequence from metadata source",
         {"Dynamic Relink Highest Quality: IDR_DR_HIGHEST_QUALITY",
          "Dynamic Relink Specific Resolution: IDR_DR_SPECIFIC_RESOLUTION"}},
        {RegistrationOf<SubmitVerifyAccessHandler>(),
         "Verifies access to the mob dependencies",
         {"emptyParams: {}"}},
        {RegistrationOf<SubmitExportQueryHandler>(),
         "Submit Export Query",
         {R"(Query Export types by type: {"type":"LXA"})",
          R"(Query Export types by name: {"name":"MXF OP1a"})",
          R"(Query Export types by GUID: {"GUID":"D49F75BA-4965-4CFA-9D11-CD87206287E0"})"}},
        {RegistrationOf<SubmitVideoFormatsQueryHandler>(),
         "Returns list of available video formats for specified parameters",
         {R"(query video formats for parameters: {"RasterWidth":1280,"RasterHeight":720,)"
          R"("ColorSpace":"0xdab8b683-0x8476-0x4478-0x8f6e-0x2da6-0xf50d-0xe395","RateNumerator":60000,)"
          R"("RateDenominator":1001,"Progressive":true,"CompressionFamily":"Ravex HQX",)"
          R"("EncodingName":"Ravex HQX","Preset":"ravex/hr/1271/422"})",
          R"(query video format by legacy vcid: {"LegacyVCID":1242})",
          "query video format by Tarvale compression string: "
          R"({"TarvaleCompression":"XAVC UHD Intra CBG Class 300 59.94"})"}},
        {RegistrationOf<SubmitAudioFormatsQueryHandler>(),
         "Returns list of available audio formats for specified filters",
         {"query audio formats for specified filters: "
          R"({"FileFormat":"FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60","SampleRate":48000,"BitsPerSample":24})",
          "query audio formats by Tarvale compression string: "
          R"({"TarvaleCompression":"Uncompressed PCM 24 bit","SampleRate":96000})"}},
        {RegistrationOf<SubmitSourceAvailabilityQueryHandler>(),
         "Submits source availability for each mob",
         {"query source availability: IDR_SOURCE_AVAILABILITY"}},
        {RegistrationOf<SubmitMobIDsFromContainerQueryHandler>(),
         "Submit query to get mobIDs in the specified container",
         {R"(query mobIDs from container: {"CompositionMetadataFilePath":"<<< INPUT METADATA FILE >>>"})"}},
        {RegistrationOf<SubmitSuitableMastersQueryHandler>(),
         "Initiate a submit suitable masters" + onMobs,
         {"SubmitSuitableMastersQuery: IDR_SUBMIT_SUITABLE_MASTERS_QUERY"}},
    };
    for (const auto& [registration, description, examples] : rows) {
        SCOPED_TRACE(registration.name);
        EXPECT_EQ(registration.description, description);
        EXPECT_EQ(registration.restMethod, PlatformAbstraction::HTTPMethod::Post);
        ASSERT_EQ(registration.examples.size(), examples.size());
        for (std::size_t n = 0; n < examples.size(); ++n) {
            ExpectExample(registration.examples[n], examples[n]);
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
