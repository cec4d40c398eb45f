#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <variant>

#include "Core/src/Vocabulary.h"
#include "farm/workers/Catalogues.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Quillon::Farm {

/// What makes one catalogue message differ from another.
struct CatalogueMessage {
    std::string_view name;
    std::string_view description;
    const Catalogue Catalogues::*catalogue;
    std::string_view exampleLabel;
    std::string_view exampleKey;
    std::variant<std::string_view, std::int32_t> exampleValue;
};

/// Answers one catalogue message with `results`: the list of the entries that meet the criteria of the
/// request, and their number. Constant after construction.
class CatalogueHandlerBase : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const final;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) final;

protected:
    /// `message` lives as long as the program.
    CatalogueHandlerBase(const CatalogueMessage& message, const std::shared_ptr<const Catalogues>& owner);

private:
    const CatalogueMessage& m_message;
    const std::shared_ptr<const Catalogue> m_pCatalogue;
};

template <const CatalogueMessage& message>
class CatalogueHandler final : public CatalogueHandlerBase {
public:
    explicit CatalogueHandler(const std::shared_ptr<const Catalogues>& catalogues)
        : CatalogueHandlerBase(message, catalogues) {}
};

namespace CatalogueMessages {

namespace Operations = Weftline::Operations;
namespace Keys = Weftline::Keys;

inline constexpr CatalogueMessage kVideoFormats{
    .name = Operations::GetVideoFormats,
    .description = "Lists the video formats of the farm",
    .catalogue = &Catalogues::videoFormats,
    .exampleLabel = "video formats by legacy id",
    .exampleKey = Keys::Formats::LegacyVCID,
    .exampleValue = 1242,
};
inline constexpr CatalogueMessage kAudioFormats{
    .name = Operations::GetAudioFormats,
    .description = "Lists the audio formats of the farm",
    .catalogue = &Catalogues::audioFormats,
    .exampleLabel = "audio formats by sample rate",
    .exampleKey = Keys::Formats::SampleRate,
    .exampleValue = 48000,
};
inline constexpr CatalogueMessage kExportTypes{
    .name = Operations::GetExportTypes,
    .description = "Lists the export types of the farm",
    .catalogue = &Catalogues::exportTypes,
    .exampleLabel = "export types by type",
    .exampleKey = Keys::Type,
    .exampleValue = "LXA",
};
inline constexpr CatalogueMessage kMediaCreationTypes{
    .name = Operations::GetMediaCreationTypes,
    .description = "Lists the media creation types of the farm",
    .catalogue = &Catalogues::mediaCreationTypes,
    .exampleLabel = "media creation types by name",
    .exampleKey = Keys::Name,
    .exampleValue = "Transcode",
};
inline constexpr CatalogueMessage kColorSpaces{
    .name = Operations::GetColorSpaces,
    .description = "Lists the colour spaces of the farm",
    .catalogue = &Catalogues::colorSpaces,
    .exampleLabel = "colour spaces by name",
    .exampleKey = Keys::Formats::Name,
    .exampleValue = "Rec.709 [video levels]",
};
inline constexpr CatalogueMessage kS3DModes{
    .name = Operations::GetS3DModes,
    .description = "Lists the stereoscopic modes of the farm",
    .catalogue = &Catalogues::s3dModes,
    .exampleLabel = "stereoscopic modes by name",
    .exampleKey = Keys::S3DMode,
    .exampleValue = "Monoscopic",
};

}  // namespace CatalogueMessages

using GetVideoFormatsHandler = CatalogueHandler<CatalogueMessages::kVideoFormats>;
using GetAudioFormatsHandler = CatalogueHandler<CatalogueMessages::kAudioFormats>;
using GetExportTypesHandler = CatalogueHandler<CatalogueMessages::kExportTypes>;
using GetMediaCreationTypesHandler = CatalogueHandler<CatalogueMessages::kMediaCreationTypes>;
using GetColorSpacesHandler = CatalogueHandler<CatalogueMessages::kColorSpaces>;
using GetS3DModesHandler = CatalogueHandler<CatalogueMessages::kS3DModes>;

}  // namespace Quillon::Farm
