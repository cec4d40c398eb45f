#pragma once

#include "farm/workers/CatalogueHandler.h"

namespace Quillon::Farm {

/// Answers `getAudioFormats` from the catalogue of the audio formats.
class GetAudioFormatsHandler final : public CatalogueHandler {
public:
    explicit GetAudioFormatsHandler(const CataloguesPointer& catalogues);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Quillon::Farm
