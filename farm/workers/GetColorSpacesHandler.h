#pragma once

#include "farm/workers/CatalogueHandler.h"

namespace Quillon::Farm {

/// Answers `getColorSpaces` from the catalogue of the colour spaces.
class GetColorSpacesHandler final : public CatalogueHandler {
public:
    explicit GetColorSpacesHandler(const CataloguesPointer& catalogues);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Quillon::Farm
