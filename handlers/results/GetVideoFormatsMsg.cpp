#include "handlers/results/GetVideoFormatsMsg.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "handlers/support/SubmissionRegistration.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

GetVideoFormatsMsg::GetVideoFormatsMsg(std::string realm)
    : GenericProxyMsg(std::move(realm), ServiceNames::MetadataWorker, kMetadataWorkerVersion,
                      Operations::GetVideoFormats) {}

PlatformAbstraction::RegistrationParams GetVideoFormatsMsg::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Operations::GetVideoFormats))
        .SetDescription("Returns list of available video formats for specified parameters")
        .SetRESTPath("formats/video")
        .AddExample(
            {"query video formats for parameters",
             TreeOf({{Keys::RasterWidth, 1280},
                     {Keys::RasterHeight, 720},
                     {Keys::Formats::ColorSpace, "0xdab8b683-0x8476-0x4478-0x8f6e-0x2da6-0xf50d-0xe395"},
                     {Keys::RateNumerator, 60000},
                     {Keys::RateDenominator, 1001},
                     {Keys::Formats::Progressive, true},
                     {Keys::Formats::CompressionFamily, "Ravex HQX"},
                     {Keys::Formats::EncodingName, "Ravex HQX"},
                     {Keys::Formats::Preset, "ravex/hr/1271/422"}})})
        .AddExample({"query video format by legacy vcid", TreeOf({{Keys::Formats::LegacyVCID, 1242}})})
        .AddExample({"query video format by Tarvale compression string",
                     TreeOf({{Keys::TarvaleCompression, "XAVC UHD Intra CBG Class 300 59.94"}})})
        .GetResult();
}

}  // namespace Weftline::Services::Scheduler
