#include "farm/workers/GetExportTypesHandler.h"

#include <string>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

namespace Keys = Weftline::Keys;

GetExportTypesHandler::GetExportTypesHandler(const CataloguesPointer& catalogues)
    : CatalogueHandler(catalogues, &Catalogues::exportTypes) {}

PlatformAbstraction::RegistrationParams GetExportTypesHandler::GetRegistrationParams() const {
    CoreServices::Parameters example;
    example.SetParameter(Keys::Type, "LXA");
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::GetExportTypes))
        .SetDescription("Lists the export types of the farm")
        .AddExample({"export types by type", example})
        .GetResult();
}

}  // namespace Quillon::Farm
