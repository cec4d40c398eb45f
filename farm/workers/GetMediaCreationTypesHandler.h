#pragma once

#include "farm/workers/CatalogueHandler.h"

namespace Quillon::Farm {

/// Answers `getMediaCreationTypes` from the catalogue of the media creation types.
class GetMediaCreationTypesHandler final : public CatalogueHandler {
public:
    explicit GetMediaCreationTypesHandler(const CataloguesPointer& catalogues);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Quillon::Farm
