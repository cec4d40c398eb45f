#include "farm/workers/GetColorSpacesHandler.h"

#include <string>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

namespace Keys = Weftline::Keys;

GetColorSpacesHandler::GetColorSpacesHandler(const CataloguesPointer& catalogues)
    : CatalogueHandler(catalogues, &Catalogues::colorSpaces) {}

PlatformAbstraction::RegistrationParams GetColorSpacesHandler::GetRegistrationParams() const {
    CoreServices::Parameters example;
    example.SetParameter(Keys::Formats::Name, "Rec.709 [video levels]");
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::GetColorSpaces))
        .SetDescription("Lists the colour spaces of the farm")
        .AddExample({"colour spaces by name", example})
        .GetResult();
}

}  // namespace Quillon::Farm
