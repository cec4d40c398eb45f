#include "farm/workers/GetVideoFormatsHandler.h"

#include <string>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

namespace Keys = Weftline::Keys;

GetVideoFormatsHandler::GetVideoFormatsHandler(const CataloguesPointer& catalogues)
    : CatalogueHandler(catalogues, &Catalogues::videoFormats) {}

PlatformAbstraction::RegistrationParams GetVideoFormatsHandler::GetRegistrationParams() const {
    CoreServices::Parameters example;
    example.SetParameter(Keys::Formats::LegacyVCID, 1242);
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::GetVideoFormats))
        .SetDescription("Lists the video formats of the farm")
        .AddExample({"video formats by legacy id", example})
        .GetResult();
}

}  // namespace Quillon::Farm
