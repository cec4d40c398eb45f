#include "handlers/results/CatalogueMessages.h"

#include <exception>

#include "handlers/support/HandlerDocumentation.h"
#include "handlers/support/ServiceQueries.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/HandlerErrors.h"
#include "platform/messaging/RegistrationParams.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::HTTPMethod;
using PlatformAbstraction::MessageExample;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

using Examples = std::vector<MessageExample>;

Examples VideoFormatsExamples() {
    return {{"query video formats for parameters",
             TreeOf({{Keys::RasterWidth, 1280},
                     {Keys::RasterHeight, 720},
                     {Keys::Formats::ColorSpace, "0xdab8b683-0x8476-0x4478-0x8f6e-0x2da6-0xf50d-0xe395"},
                     {Keys::RateNumerator, 60000},
                     {Keys::RateDenominator, 1001},
                     {Keys::Formats::Progressive, true},
                     {Keys::Formats::CompressionFamily, "Ravex HQX"},
                     {Keys::Formats::EncodingName, "Ravex HQX"},
                     {Keys::Formats::Preset, "ravex/hr/1271/422"}})},
            {"query video format by legacy vcid", TreeOf({{Keys::Formats::LegacyVCID, 1242}})},
            {"query video format by Tarvale compression string",
             TreeOf({{Keys::TarvaleCompression, "XAVC UHD Intra CBG Class 300 59.94"}})}};
}

Examples AudioFormatsExamples() {
    return {{"query audio formats for specified filters",
             TreeOf({{Keys::Formats::FileFormat, "FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60"},
                     {Keys::Formats::SampleRate, 48000},
                     {Keys::Formats::BitsPerSample, 24}})},
            {"query audio formats by Tarvale compression string",
             TreeOf({{Keys::TarvaleCompression, "Uncompressed PCM 24 bit"},
                     {Keys::Formats::SampleRate, 96000}})}};
}

Examples ExportTypesExamples() {
    return {{"query export types by type", TreeOf({{Keys::Type, "LXA"}})},
            {"query export types by name", TreeOf({{Keys::Name, "MXF OP1a"}})},
            {"query export types by GUID", TreeOf({{Keys::GUID, "D49F75BA-4965-4CFA-9D11-CD87206287E0"}})}};
}

Examples MediaCreationTypesExamples() {
    return {{"query media creation types by name", {}}};
}

Examples ColorSpacesExamples() {
    return {{"query color space by name string",
             TreeOf({{Keys::Formats::Name, "Rec.709 [video levels]"},
                     {Keys::Formats::BitDepth, "10"},
                     {Keys::Formats::MinReference, "64"},
                     {Keys::Formats::MaxReference, "940"},
                     {Keys::Formats::TransferCharacteristicName, "Rec.709"},
                     {Keys::Formats::TransferCharacteristicUid, "04010101-0102-0000-060e-2b3404010101"},
                     {Keys::Formats::ColorPrimariesName, "Rec.709"},
                     {Keys::Formats::ColorPrimariesUid, "04010101-0303-0000-060e-2b3404010106"}})}};
}

Examples S3DModesExamples() {
    return {
        {"query stereoscopic project types for specified filters", TreeOf({{Keys::S3DMode, "Monoscopic"}})}};
}

}  // namespace

namespace Catalogues {
constexpr Catalogue kVideoFormats{Operations::GetVideoFormats,
                                  "Returns list of available video formats for specified parameters",
                                  "formats/video", HTTPMethod::Get, VideoFormatsExamples};
constexpr Catalogue kAudioFormats{Operations::GetAudioFormats,
                                  "Returns list of available audio formats for specified filters",
                                  "formats/audio", HTTPMethod::Get, AudioFormatsExamples};
constexpr Catalogue kExportTypes{Operations::GetExportTypes,
                                 "Returns list of available export types for specified parameters",
                                 "getExportTypes", HTTPMethod::Post, ExportTypesExamples};
constexpr Catalogue kMediaCreationTypes{Operations::GetMediaCreationTypes,
                                        "Returns list of available media creation types",
                                        "getMediaCreationTypes", HTTPMethod::Get, MediaCreationTypesExamples};
constexpr Catalogue kColorSpaces{Operations::GetColorSpaces,
                                 "Returns list of available color spaces for specified parameters",
                                 "getColorSpaces", HTTPMethod::Get, ColorSpacesExamples};
constexpr Catalogue kS3DModes{Operations::GetS3DModes,
                              "Returns list of available stereoscopic project types for specified filters",
                              "s3dmodes", HTTPMethod::Get, S3DModesExamples};
}  // namespace Catalogues

RegistrationParams DescribeCatalogue(const Catalogue& catalogue) {
    RegParamsBuilder builder;
    builder.SetName(std::string(catalogue.operation))
        .SetDescription(std::string(catalogue.description))
        .SetRESTPath(std::string(catalogue.restPath))
        .SetRESTMethod(catalogue.restMethod);
    for (MessageExample& example : catalogue.examples()) {
        builder.AddExample(std::move(example));
    }
    return builder.GetResult();
}

GenericProxyMsg::GenericProxyMsg(std::string realm, std::string_view service, std::int32_t version,
                                 std::string_view operation)
    : m_realm(std::move(realm)), m_service(service), m_version(version), m_operation(operation) {}

bool GenericProxyMsg::HandleMessage(std::shared_ptr<MessageContext> context, const Parameters& request,
                                    ServiceMessageResponse& response) {
    try {
        ServiceMessageDispatch dispatch(m_service, m_realm, m_version, m_operation);
        dispatch.parameters = request;
        const auto future = context->GetContextBusMessaging()->SendRequest(dispatch);
        const Parameters answer = MsgHandlersUtils::WaitForResult(*future, m_service);
        response.AssignParameters(answer.GetChildParameters(Keys::Results));
        response.RespondOK();
    } catch (const PlatformAbstraction::Messaging::BlamedTree& error) {
        response.SetBlame(error);
        response.RespondGenericError("Exception", error);
    } catch (const Parameters& error) {
        response.RespondGenericError("Exception", error);
    } catch (const std::exception& failure) {
        response.SetBlame(failure);
        response.RespondGenericError(std::string("Exception: ") + failure.what());
    }
    return true;
}

}  // namespace Weftline::Services::Scheduler
