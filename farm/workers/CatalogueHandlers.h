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
    struct Example {
        std::string_view criterion;  ///< in texts for people
        std::string_view key;
        std::variant<std::string_view, std::int32_t> value;
    };

    std::string_view name;
    std::string_view entries;  ///< in texts for people
    const Catalogue Catalogues::*catalogue;
    Example example;
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
using Example = CatalogueMessage::Example;

inline constexpr CatalogueMessage kVideoFormats{Operations::GetVideoFormats, "video formats",
                                                &Catalogues::videoFormats,
                                                Example{"legacy id", Keys::Formats::LegacyVCID, 1242}};
inline constexpr CatalogueMessage kAudioFormats{Operations::GetAudioFormats, "audio formats",
                                                &Catalogues::audioFormats,
                                                Example{"sample rate", Keys::Formats::SampleRate, 48000}};
inline constexpr CatalogueMessage kExportTypes{Operations::GetExportTypes, "export types",
                                               &Catalogues::exportTypes, Example{"type", Keys::Type, "LXA"}};
inline constexpr CatalogueMessage kMediaCreationTypes{Operations::GetMediaCreationTypes,
                                                      "media creation types", &Catalogues::mediaCreationTypes,
                                                      Example{"name", Keys::Name, "Transcode"}};
inline constexpr CatalogueMessage kColorSpaces{
    Operations::GetColorSpaces, "colour spaces", &Catalogues::colorSpaces,
    Example{"name", Keys::Formats::Name, "Rec.709 [video levels]"}};
inline constexpr CatalogueMessage kS3DModes{Operations::GetS3DModes, "stereoscopic modes",
                                            &Catalogues::s3dModes,
                                            Example{"name", Keys::S3DMode, "Monoscopic"}};

}  // namespace CatalogueMessages

using GetVideoFormatsHandler = CatalogueHandler<CatalogueMessages::kVideoFormats>;
using GetAudioFormatsHandler = CatalogueHandler<CatalogueMessages::kAudioFormats>;
using GetExportTypesHandler = CatalogueHandler<CatalogueMessages::kExportTypes>;
using GetMediaCreationTypesHandler = CatalogueHandler<CatalogueMessages::kMediaCreationTypes>;
using GetColorSpacesHandler = CatalogueHandler<CatalogueMessages::kColorSpaces>;
using GetS3DModesHandler = CatalogueHandler<CatalogueMessages::kS3DModes>;

}  // namespace Quillon::Farm
