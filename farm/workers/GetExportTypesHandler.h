#pragma once

#include "farm/workers/CatalogueHandler.h"

namespace Quillon::Farm {

/// Answers `getExportTypes` from the catalogue of the export types.
class GetExportTypesHandler final : public CatalogueHandler {
public:
    explicit GetExportTypesHandler(const CataloguesPointer& catalogues);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Quillon::Farm
