#include "handlers/submit/SubmitVideoFormatsQueryHandler.h"

#include "Core/src/Vocabulary.h"
#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

namespace {

CoreServices::Parameters FormatParametersExample() {
    return TreeOf({{Keys::RasterWidth, 1280},
                   {Keys::RasterHeight, 720},
                   {Keys::Formats::ColorSpace, "0xdab8b683-0x8476-0x4478-0x8f6e-0x2da6-0xf50d-0xe395"},
                   {Keys::RateNumerator, 60000},
                   {Keys::RateDenominator, 1001},
                   {Keys::Formats::Progressive, true},
                   {Keys::Formats::CompressionFamily, "Ravex HQX"},
                   {Keys::Formats::EncodingName, "Ravex HQX"},
                   {Keys::Formats::Preset, "ravex/hr/1271/422"}});
}

}  // namespace

PlatformAbstraction::RegistrationParams SubmitVideoFormatsQueryHandler::GetRegistrationParams() const {
    return DescribeSubmission(
        "SubmitVideoFormatsQuery", "Returns list of available video formats for specified parameters",
        "submitVideoFormatsQuery",
        {
            {"query video formats for parameters", FormatParametersExample()},
            {"query video format by legacy vcid", TreeOf({{Keys::Formats::LegacyVCID, 1242}})},
            {"query video format by Tarvale compression string",
             TreeOf({{Keys::TarvaleCompression, "XAVC UHD Intra CBG Class 300 59.94"}})},
        });
}

}  // namespace Weftline::Services::Scheduler
