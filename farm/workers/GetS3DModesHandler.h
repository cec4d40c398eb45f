#pragma once

#include "farm/workers/CatalogueHandler.h"

namespace Quillon::Farm {

/// Answers `getS3DModes` from the catalogue of the stereoscopic modes.
class GetS3DModesHandler final : public CatalogueHandler {
public:
    explicit GetS3DModesHandler(const CataloguesPointer& catalogues);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Quillon::Farm
