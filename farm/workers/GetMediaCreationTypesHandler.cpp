#include "farm/workers/GetMediaCreationTypesHandler.h"

#include <string>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

namespace Keys = Weftline::Keys;

GetMediaCreationTypesHandler::GetMediaCreationTypesHandler(const CataloguesPointer& catalogues)
    : CatalogueHandler(catalogues, &Catalogues::mediaCreationTypes) {}

PlatformAbstraction::RegistrationParams GetMediaCreationTypesHandler::GetRegistrationParams() const {
    CoreServices::Parameters example;
    example.SetParameter(Keys::Name, "Transcode");
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::GetMediaCreationTypes))
        .SetDescription("Lists the media creation types of the farm")
        .AddExample({"media creation types by name", example})
        .GetResult();
}

}  // namespace Quillon::Farm
