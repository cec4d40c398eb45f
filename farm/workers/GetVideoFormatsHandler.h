#pragma once

#include "farm/workers/CatalogueHandler.h"

namespace Quillon::Farm {

/// Answers `getVideoFormats` from the catalogue of the video formats.
class GetVideoFormatsHandler final : public CatalogueHandler {
public:
    explicit GetVideoFormatsHandler(const CataloguesPointer& catalogues);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Quillon::Farm
