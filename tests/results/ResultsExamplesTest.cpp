#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FindAudioFormatsHandler.h"
#include "FindExportTypesHandler.h"
#include "FindMobIDsFromContainerHandler.h"
#include "FindSourceAvailabilityHandler.h"
#include "FindSuitableMastersHandler.h"
#include "FindVideoFormatsHandler.h"
#include "GetAudioFormatsMsg.h"
#include "GetColorSpacesMsg.h"
#include "GetExportTypesMsg.h"
#include "GetMediaCreationTypesMsg.h"
#include "GetProfilesHandler.h"
#include "GetS3DModesMsg.h"
#include "GetUniqueExportPluginsHandler.h"
#include "GetVideoFormatsMsg.h"

namespace Weftline::Services::Scheduler {
namespace {

// Names, paths and descriptions are seen where all handlers are registered.
TEST(ResultsExamples, ShowOneRequestForEachWayOfAsking) {
    const std::string query = R"({"queryID":"c38c9b22-8000-440a-8f25-4a5a6907da19"})";
    const std::string secondPage =
        R"({"queryID":"c38c9b22-8000-440a-8f25-4a5a6907da19","PageOffset":0,"PageSize":50})";
    struct Row {
        PlatformAbstraction::RegistrationParams registration;
        std::vector<std::string> examples;
    };
    const Row rows[] = {
        {FindVideoFormatsHandler("").GetRegistrationParams(),
         {"Find Video formats by ID obtained via submitVideoFormatsQuery: " + query,
          "Find Video formats by ID with page offset: " + secondPage}},
        {FindAudioFormatsHandler("").GetRegistrationParams(),
         {"Find Audio formats by ID obtained via submitAudioFormatsQuery: " + query}},
        {FindExportTypesHandler("").GetRegistrationParams(),
         {"Find Export types by ID obtained via submitExportQuery: " + query}},
        {FindSourceAvailabilityHandler().GetRegistrationParams(),
         {"Find Source Availability result by ID obtained via submitSourceAvailabilityQuery: " + query}},
        {FindMobIDsFromContainerHandler("").GetRegistrationParams(),
         {"Find MobIDsFromContainer result by ID obtained via submitMobIDsFromContainerQuery: " + query}},
        {FindSuitableMastersHandler().GetRegistrationParams(),
         {"Find Suitable Masters by ID obtained via submitSuitableMastersQuery: " + query}},
        {GetVideoFormatsMsg("").GetRegistrationParams(),
         {R"(query video formats for parameters: {"RasterWidth":1280,"RasterHeight":720,)"
          R"("ColorSpace":"0xdab8b683-0x8476-0x4478-0x8f6e-0x2da6-0xf50d-0xe395","RateNumerator":60000,)"
          R"("RateDenominator":1001,"Progressive":true,"CompressionFamily":"Ravex HQX",)"
          R"("EncodingName":"Ravex HQX","Preset":"ravex/hr/1271/422"})",
          R"(query video format by legacy vcid: {"LegacyVCID":1242})",
          "query video format by Tarvale compression string: "
          R"({"TarvaleCompression":"XAVC UHD Intra CBG Class 300 59.94"})"}},
        {GetAudioFormatsMsg("").GetRegistrationParams(),
         {"query audio formats for specified filters: "
          R"({"FileFormat":"FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60","SampleRate":48000,"BitsPerSample":24})",
          "query audio formats by Tarvale compression string: "
          R"({"TarvaleCompression":"Uncompressed PCM 24 bit","SampleRate":96000})"}},
        {GetExportTypesMsg("").GetRegistrationParams(),
         {R"(query export types by type: {"type":"LXA"})",
          R"(query export types by name: {"name":"MXF OP1a"})",
          R"(query export types by GUID: {"GUID":"D49F75BA-4965-4CFA-9D11-CD87206287E0"})"}},
        {GetMediaCreationTypesMsg("").GetRegistrationParams(), {"query media creation types by name: {}"}},
        {GetColorSpacesMsg("").GetRegistrationParams(),
         {R"(query color space by name string: {"Name":"Rec.709 [video levels]","BitDepth":"10",)"
          R"("MinReference":"64","MaxReference":"940","TransferCharacteristicName":"Rec.709",)"
          R"("TransferCharacteristicUid":"04010101-0102-0000-060e-2b3404010101",)"
          R"("ColorPrimariesName":"Rec.709","ColorPrimariesUid":"04010101-0303-0000-060e-2b3404010106"})"}},
        {GetS3DModesMsg("").GetRegistrationParams(),
         {R"(query stereoscopic project types for specified filters: {"S3DMode":"Monoscopic"})"}},
        {GetUniqueExportPluginsHandler("").GetRegistrationParams(),
         {R"(Get Unique Export Plugins by type: {"type":"LXA"})"}},
        {GetProfilesHandler().GetRegistrationParams(), {"get profiles: {}"}},
    };
    for (const auto& [registration, expected] : rows) {
        std::vector<std::string> examples;
        for (const PlatformAbstraction::MessageExample& example : registration.examples) {
            examples.push_back(example.label + ": " + example.request.toJSON());
        }
        EXPECT_EQ(examples, expected) << registration.name;
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
